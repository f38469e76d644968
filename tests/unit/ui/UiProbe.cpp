#include "ui/NumberFormat.h"

#include <QCoreApplication>

#include <iostream>

/// Writes a number by the locale of the environment, which a process reads once: "decimal VALUE DIGITS" or
/// "dollars VALUE DIGITS".
int main(int argc, char** argv) {
    using namespace quillo;
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    const double value = arguments.at(2).toDouble();
    const int digits = arguments.at(3).toInt();
    const auto text = arguments.at(1) == QLatin1StringView("dollars") ? NumberFormat::dollars(value, digits)
                                                                      : NumberFormat::decimal(value, digits);
    std::cout << text.toStdString() << std::endl;
    return 0;
}
