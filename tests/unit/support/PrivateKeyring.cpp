#include "support/PrivateKeyring.h"

#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <csignal>

namespace quillo::test {

using namespace Qt::Literals::StringLiterals;

/// `Secret` of the Secret Service interface.
struct TransportedSecret {
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    QString contentType;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const TransportedSecret& secret) {
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.contentType;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, TransportedSecret& secret) {
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    argument.endStructure();
    return argument;
}

namespace {

const auto serviceName = u"org.freedesktop.secrets"_s;
const auto servicePath = u"/org/freedesktop/secrets"_s;
const auto serviceInterface = u"org.freedesktop.Secret.Service"_s;
const auto masterPassword = "a password of the tests"_ba;

QDBusMessage call(const QDBusConnection& connection, const QString& path, const QString& interface,
                  const QString& method, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(serviceName, path, interface, method);
    message.setArguments(arguments);
    return connection.call(message);
}

QDBusMessage callOrDie(const QDBusConnection& connection, const QString& path, const QString& interface,
                       const QString& method, const QVariantList& arguments) {
    auto reply = call(connection, path, interface, method, arguments);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        qFatal("%s: %s", qUtf8Printable(method), qUtf8Printable(reply.errorMessage()));
    }
    return reply;
}

} // namespace

PrivateKeyring::PrivateKeyring(PrivateBus& bus) : connection(bus.connect()) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
    qDBusRegisterMetaType<TransportedSecret>();
    qDBusRegisterMetaType<QMap<QString, QString>>();
}

PrivateKeyring::~PrivateKeyring() = default;

bool PrivateKeyring::isOnTheBus() const {
    return connection.interface()->isServiceRegistered(serviceName).value();
}

void PrivateKeyring::launch(const QStringList& arguments, const QByteArray& input) {
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const auto& variable :
         {u"HOME"_s, u"XDG_RUNTIME_DIR"_s, u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"XDG_CACHE_HOME"_s}) {
        environment.insert(variable, home.path());
    }
    daemon = std::make_unique<ChildProcess>(u"gnome-keyring-daemon"_s, arguments, environment);
    daemon->write(input);
    daemon->closeInput();
    if (!waitUntil([this] { return isOnTheBus(); })) {
        qFatal("gnome-keyring-daemon did not start");
    }
}

void PrivateKeyring::start() {
    launch({u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s}, masterPassword);
    const bool ready = waitUntil([this] {
        const auto collection = defaultCollection();
        if (collection == u"/"_s) {
            return false;
        }
        const auto locked = call(connection, collection, u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                                 {u"org.freedesktop.Secret.Collection"_s, u"Locked"_s});
        return locked.type() == QDBusMessage::ReplyMessage &&
               !locked.arguments().constFirst().value<QDBusVariant>().variant().toBool();
    });
    if (!ready) {
        qFatal("the keyring did not open");
    }
}

void PrivateKeyring::startWithoutPassword() {
    launch({u"--foreground"_s, u"--components=secrets"_s}, {});
}

void PrivateKeyring::stop() {
    daemon.reset();
    if (!waitUntil([this] { return !isOnTheBus(); })) {
        qFatal("the keyring did not go");
    }
}

void PrivateKeyring::suspend() {
    ::kill(static_cast<pid_t>(daemon->processId()), SIGSTOP);
}

void PrivateKeyring::resume() {
    ::kill(static_cast<pid_t>(daemon->processId()), SIGCONT);
}

void PrivateKeyring::lock() {
    const QList<QDBusObjectPath> collections{QDBusObjectPath(defaultCollection())};
    callOrDie(connection, servicePath, serviceInterface, u"Lock"_s, {QVariant::fromValue(collections)});
}

void PrivateKeyring::unlock() {
    const auto opened = callOrDie(connection, servicePath, serviceInterface, u"OpenSession"_s,
                                  {u"plain"_s, QVariant::fromValue(QDBusVariant(QString()))});
    const TransportedSecret secret{
        opened.arguments().at(1).value<QDBusObjectPath>(), {}, masterPassword, u"text/plain"_s};
    callOrDie(connection, servicePath, u"org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface"_s,
              u"UnlockWithMasterPassword"_s,
              {QVariant::fromValue(QDBusObjectPath(defaultCollection())), QVariant::fromValue(secret)});
}

int PrivateKeyring::itemCount(const QString& service, const QString& account) const {
    const QMap<QString, QString> attributes{{u"service"_s, service}, {u"account"_s, account}};
    const auto found = callOrDie(connection, servicePath, serviceInterface, u"SearchItems"_s,
                                 {QVariant::fromValue(attributes)});
    const auto count = [&](int index) {
        return static_cast<int>(qdbus_cast<QList<QDBusObjectPath>>(found.arguments().at(index)).count());
    };
    return count(0) + count(1);
}

QString PrivateKeyring::defaultCollection() const {
    const auto alias = callOrDie(connection, servicePath, serviceInterface, u"ReadAlias"_s, {u"default"_s});
    return alias.arguments().constFirst().value<QDBusObjectPath>().path();
}

QByteArray secretTool(const QStringList& arguments, const QByteArray& input) {
    ChildProcess tool(u"secret-tool"_s, arguments);
    tool.write(input);
    tool.closeInput();
    static_cast<void>(tool.waitForExit());
    return tool.readAll();
}

} // namespace quillo::test

Q_DECLARE_METATYPE(quillo::test::TransportedSecret)
