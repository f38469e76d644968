#include "platform/desktop/LaunchFeedback.h"

#include "support/TestMain.h"
#include "support/VirtualDisplay.h"
#include "support/Wait.h"

#include <QTest>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

/// Puts the messages together that the desktop's parts get.
class DesktopEars {
public:
    explicit DesktopEars(const VirtualDisplay& display)
        : connection(xcb_connect(display.name().toLatin1().constData(), nullptr), &xcb_disconnect) {
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
        const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        const auto cookie =
            xcb_change_window_attributes_checked(connection.get(), root, XCB_CW_EVENT_MASK, &mask);
        if (xcb_request_check(connection.get(), cookie)) {
            qFatal("no events of the root window");
        }
    }

    /// What was sent, once there is all of it.
    [[nodiscard]] QByteArray message() {
        QByteArray text;
        const bool complete = waitUntil([&] {
            using Event = std::unique_ptr<xcb_generic_event_t, decltype(&std::free)>;
            while (const Event event{xcb_poll_for_event(connection.get()), &std::free}) {
                if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
                    const auto& piece = reinterpret_cast<const xcb_client_message_event_t&>(*event);
                    types.append(piece.type);
                    text.append(reinterpret_cast<const char*>(piece.data.data8), sizeof piece.data.data8);
                }
            }
            return text.contains('\0');
        });
        return complete ? QByteArray(text.constData()) : "nothing complete";
    }

    QList<xcb_atom_t> types;

private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection;
};

} // namespace

class LaunchFeedbackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void desktopIsToldThatTheProgramHasStarted_data() {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("short") << u"a_TIME1"_s << QByteArray("remove: ID=a_TIME1");
        QTest::newRow("ends with a piece") << u"12345678"_s << QByteArray("remove: ID=12345678");
        QTest::newRow("long") << u"panel-4711-host-quillo-12_TIME123456"_s
                              << QByteArray("remove: ID=panel-4711-host-quillo-12_TIME123456");
        QTest::newRow("quoted") << u"a b\"c\\d"_s << QByteArray("remove: ID=a\\ b\\\"c\\\\d");
    }
    void desktopIsToldThatTheProgramHasStarted() {
        QFETCH(const QString, id);
        QFETCH(const QByteArray, message);
        const VirtualDisplay display;
        DesktopEars ears(display);

        endLaunchFeedback(id, display.name().toLatin1());

        QCOMPARE(ears.message(), message);
        QCOMPARE(ears.types.count(ears.types.constFirst()), 1); // the first piece has a type of its own
    }

    void withoutAnIdOrADisplayNothingHappens() {
        endLaunchFeedback({}, ":4711");
        endLaunchFeedback(u"id"_s, ":4711");
    }
};

QUILLO_TEST(LaunchFeedbackTest, QCoreApplication)
#include "LaunchFeedbackTest.moc"
