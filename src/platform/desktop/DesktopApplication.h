#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>

namespace quillo {

/// What other programs can ask of this one.
struct ApplicationRequests {
    std::function<void()> openLedger = {};
    std::function<void()> refresh = {};
    std::function<void()> settings = {};
    std::function<void()> quit = {};
};

/// The program on the bus: `org.freedesktop.Application`. Members in upper camel case are the interface's
/// own; org.freedesktop.Application.xml declares it.
///
/// A request runs on a later turn of the loop than its call, so that the caller is answered at once. The
/// activation token that came with it is offered (`ActivationToken`) just before.
class DesktopApplication final : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    explicit DesktopApplication(QObject* parent = nullptr);

    /// The object that an application has on the bus: its id with "/" for "." and "_" for "-".
    [[nodiscard]] static QString path(const QString& applicationId);

    /// The platform data that passes `token` on; empty without one.
    [[nodiscard]] static QVariantMap platformData(const QString& token);

    /// Answers on `connection` from now on. False when something else answers there already.
    bool exportOn(QDBusConnection connection, const QString& applicationId);

    /// What came before there was anybody to answer it is lost.
    void setRequests(ApplicationRequests handlers) { requests = std::move(handlers); }

    /// Opens the ledger.
    void Activate(const QVariantMap& platformData);

    /// Does nothing: the program has no documents.
    void Open(const QStringList& uris, const QVariantMap& platformData);

    /// Takes `open-ledger`, `refresh`, `settings` and `quit`; answers any other name with an error.
    void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData);

private:
    using Request = std::function<void()> ApplicationRequests::*;
    void schedule(Request request, const QVariantMap& platformData);

    ApplicationRequests requests;
};

} // namespace quillo
