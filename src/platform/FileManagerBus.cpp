#include "platform/GioDesktop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QStringList>

bool AskFileManager(const char* method, const std::string& uri) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || bus.interface() == nullptr) {
        return false;
    }
    const QString service = QStringLiteral("org.freedesktop.FileManager1");
    const auto registered = bus.interface()->isServiceRegistered(service);
    const auto activatable = bus.interface()->activatableServiceNames();
    if (!registered.value() && !(activatable.isValid() && activatable.value().contains(service))) {
        return false;
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/FileManager1"),
                                       service, QString::fromLatin1(method));
    call << QStringList{QString::fromLatin1(uri.c_str())} << QString();
    const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
    return reply.type() == QDBusMessage::ReplyMessage;
}
