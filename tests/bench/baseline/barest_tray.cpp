// What Quillo's start and memory are measured against: the least a tray program on the same toolkit does. An
// icon, ten menu entries, one poll over HTTPS.
//
// usage: barest_tray URL API-KEY [window]   with "window" it opens one with texts in four sizes, and closes
// it again: what then stays is what fonts and the window system keep

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QVBoxLayout>

#include <malloc.h>

namespace {

void showTexts() {
    auto* window = new QWidget;
    window->setAttribute(Qt::WA_DeleteOnClose);
    auto* column = new QVBoxLayout(window);
    for (const int points : {8, 10, 24, 36}) {
        for (const auto weight : {QFont::Normal, QFont::DemiBold}) {
            auto* label = new QLabel(QStringLiteral("Merchant / description +$1,234,567.89 (0)"));
            auto font = label->font();
            font.setPointSize(points);
            font.setWeight(weight);
            label->setFont(font);
            column->addWidget(label);
        }
    }
    window->show();
    QTimer::singleShot(std::chrono::seconds(1), window, [window] {
        window->close();
        QTimer::singleShot(std::chrono::milliseconds(200), qApp, [] { malloc_trim(0); });
    });
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QPixmap picture(22, 22);
    picture.fill(Qt::darkGray);
    QSystemTrayIcon tray{QIcon(picture)};
    QMenu menu;
    for (int entry = 1; entry <= 10; ++entry) {
        menu.addAction(QStringLiteral("Entry %1").arg(entry));
    }
    tray.setContextMenu(&menu);
    tray.show();

    QNetworkAccessManager manager;
    const auto poll = [&] {
        QNetworkRequest request{QUrl(QString::fromLocal8Bit(argv[1]))};
        request.setRawHeader("X-API-Key", argv[2]);
        auto* reply = manager.get(request);
        reply->ignoreSslErrors(); // the sandbox's certificate is its own
        QObject::connect(reply, &QNetworkReply::finished, &tray, [&tray, reply] {
            tray.setToolTip(QString::number(reply->readAll().size()));
            reply->deleteLater();
        });
    };
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &tray, poll);
    timer.start(std::chrono::minutes(5));
    if (argc > 2) {
        poll();
    }
    if (argc > 3) {
        showTexts();
    }
    return QApplication::exec();
}
