#include "platform/desktop/Workspace.h"

#include <QGuiApplication>
#include <QUrl>

#include <iostream>

/// Opens the address of its argument with the desktop's own means, and says whether that was accepted.
int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    const quillo::Workspace workspace;
    const bool opened = workspace.open(QUrl(QGuiApplication::arguments().at(1)));
    std::cout << (opened ? "opened" : "refused") << std::endl;
}
