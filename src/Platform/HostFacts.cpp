#include "Platform/HostFacts.h"

#include <QFile>
#include <QSysInfo>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    // A fact that cannot be read is unknown, not an error.
    return file.open(QIODevice::ReadOnly) ? file.read(qint64(1) << 20) : QByteArray();
}

QString firstText(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes.left(bytes.indexOf('\0'))).trimmed();
}

QString processorName()
{
    const QList<QByteArray> lines = contentsOf(u"/proc/cpuinfo"_s).split('\n');
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed() == "model name")
            return QString::fromUtf8(line.mid(colon + 1)).trimmed();
    }
    return {};
}

QString machineModel()
{
    // Most ARM64 boards describe themselves in the device tree, servers and laptops with ACPI in DMI.
    for (const auto &path :
         {u"/sys/firmware/devicetree/base/model"_s, u"/sys/devices/virtual/dmi/id/product_name"_s}) {
        if (QString model = firstText(contentsOf(path)); !model.isEmpty())
            return model;
    }
    return {};
}

} // namespace

HostFacts::~HostFacts() = default;

HostFacts &HostFacts::current()
{
    static HostFacts facts;
    return facts;
}

QString HostFacts::systemControlText(const QString &key) const
{
    if (key == "machdep.cpu.brand_string"_L1)
        return processorName();
    if (key == "hw.model"_L1)
        return machineModel();
    return {};
}

qint64 HostFacts::processorCount() const
{
    return ::sysconf(_SC_NPROCESSORS_ONLN);
}

quint64 HostFacts::physicalMemoryBytes() const
{
    return static_cast<quint64>(::sysconf(_SC_PHYS_PAGES)) * static_cast<quint64>(::sysconf(_SC_PAGESIZE));
}

QString HostFacts::operatingSystemVersionString() const
{
    return u"%1 (Linux %2)"_s.arg(QSysInfo::prettyProductName(), QSysInfo::kernelVersion());
}
