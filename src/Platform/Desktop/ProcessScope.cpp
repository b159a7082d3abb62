#include "Platform/Desktop/ProcessScope.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace {

/// "(sv)".
struct UnitProperty
{
    QString name;
    QDBusVariant value;
};

/// "(sa(sv))", of which none is ever sent.
struct AuxiliaryUnit
{
    QString name;
    QList<UnitProperty> properties;
};

QDBusArgument &operator<<(QDBusArgument &argument, const UnitProperty &property)
{
    argument.beginStructure();
    argument << property.name << property.value;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, UnitProperty &property)
{
    argument.beginStructure();
    argument >> property.name >> property.value;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const AuxiliaryUnit &unit)
{
    argument.beginStructure();
    argument << unit.name << unit.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, AuxiliaryUnit &unit)
{
    argument.beginStructure();
    argument >> unit.name >> unit.properties;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(UnitProperty)
Q_DECLARE_METATYPE(AuxiliaryUnit)

void ProcessScope::make(const QDBusConnection &bus, const QString &identifier, const QString &description,
                        const QList<pid_t> &processes)
{
    if (processes.isEmpty() || !bus.isConnected())
        return;
    qDBusRegisterMetaType<UnitProperty>();
    qDBusRegisterMetaType<QList<UnitProperty>>();
    qDBusRegisterMetaType<AuxiliaryUnit>();
    qDBusRegisterMetaType<QList<AuxiliaryUnit>>();
    const QList<UnitProperty> properties = {
        {u"Description"_s, QDBusVariant(description)},
        {u"Slice"_s, QDBusVariant(u"app.slice"_s)},
        {u"CollectMode"_s, QDBusVariant(u"inactive-or-failed"_s)},
        {u"PIDs"_s, QDBusVariant(QVariant::fromValue(QList<uint>(processes.begin(), processes.end())))},
    };
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.systemd1"_s, u"/org/freedesktop/systemd1"_s,
                                       u"org.freedesktop.systemd1.Manager"_s, u"StartTransientUnit"_s);
    call << u"app-%1-%2.scope"_s.arg(identifier).arg(processes.constFirst()) << u"fail"_s
         << QVariant::fromValue(properties) << QVariant::fromValue(QList<AuxiliaryUnit>());
    bus.send(call);
}
