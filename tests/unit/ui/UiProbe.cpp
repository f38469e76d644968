#include "platform/desktop/NotificationCenter.h"
#include "ui/MenuBarLabel.h"
#include "ui/NumberFormat.h"

#include <QCoreApplication>

#include <iostream>

/// Does one thing that takes a process of its own and says what came of it: "decimal VALUE DIGITS" and
/// "dollars VALUE DIGITS" write a number by the locale of the environment; "label" makes a view without the
/// store.
int main(int argc, char** argv) {
    using namespace quillo;
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.at(1) == QLatin1StringView("label")) {
        NotificationCenter notifications;
        const MenuBarLabel label(notifications, [] {});
        std::cout << "made" << std::endl;
        return 0;
    }
    const double value = arguments.at(2).toDouble();
    const int digits = arguments.at(3).toInt();
    const auto text = arguments.at(1) == QLatin1StringView("dollars") ? NumberFormat::dollars(value, digits)
                                                                      : NumberFormat::decimal(value, digits);
    std::cout << text.toStdString() << std::endl;
    return 0;
}
