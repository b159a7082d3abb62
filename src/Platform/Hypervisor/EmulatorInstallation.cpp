#include "Platform/Hypervisor/EmulatorInstallation.h"

#include "Platform/Emulator/EmulatorAnswer.h"
#include "Platform/Emulator/KVMProbe.h"
#include "Platform/FileManager.h"
#include "Platform/Hypervisor/VZEFIVariableStore.h"
#include "Platform/LocalizedError.h"
#include "Platform/OwnThread.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maximumDescriptorBytes = 64 * 1024;

const QStringList emulatorPlaces{u"/usr/bin/qemu-system-aarch64"_s, u"/usr/local/bin/qemu-system-aarch64"_s};
const QString descriptorFolder = u"/usr/share/qemu/firmware"_s;
const QString usualFirmware = u"/usr/share/AAVMF/AAVMF_CODE.fd"_s;

/// What the machine's flash takes is exactly this size.
bool isFlashImage(const FileManager &files, const QString &path)
{
    return files.fileExists(path) && files.fileSizes(path).logicalBytes == VZEFIVariableStore::sizeBytes;
}

bool runsVirtMachine(const QJsonObject &descriptor)
{
    const QJsonArray targets = descriptor.value("targets"_L1).toArray();
    return std::ranges::any_of(targets, [](const QJsonValue &target) {
        const QJsonArray machines = target["machines"_L1].toArray();
        return target["architecture"_L1].toString() == "aarch64"_L1 &&
               std::ranges::any_of(machines, [](const QJsonValue &machine) {
                   return machine.toString().startsWith("virt-"_L1);
               });
    });
}

/// Empty when the descriptor is about other firmware.
QString codeImage(const QJsonObject &descriptor)
{
    const QJsonObject mapping = descriptor.value("mapping"_L1).toObject();
    const QJsonObject executable = mapping.value("executable"_L1).toObject();
    // Keys may be enrolled, or be enrolled by a guest: then every boot loader that is not signed is refused.
    // And such a build may lack the shell.
    const QJsonArray features = descriptor.value("features"_L1).toArray();
    const bool wantsSignatures = features.contains(u"enrolled-keys"_s) || features.contains(u"secure-boot"_s);
    if (!runsVirtMachine(descriptor) || wantsSignatures ||
        mapping.value("device"_L1).toString() != "flash"_L1 ||
        executable.value("format"_L1).toString() != "raw"_L1)
        return {};
    return executable.value("filename"_L1).toString();
}

QString describedFirmware(const FileManager &files)
{
    if (!files.directoryExists(descriptorFolder))
        return {};
    QStringList names;
    for (const FileManager::DirectoryEntry &entry : files.contentsOfDirectory(descriptorFolder))
        if (entry.name.endsWith(".json"_L1))
            names.append(entry.name);
    names.sort(); // their order is their priority
    for (const QString &name : names) {
        const QByteArray bytes = files.readFile(descriptorFolder + u'/' + name, maximumDescriptorBytes);
        const QString image = codeImage(QJsonDocument::fromJson(bytes).object());
        if (!image.isEmpty() && isFlashImage(files, image))
            return image;
    }
    return {};
}

QString firmware(const FileManager &files)
{
    try {
        if (const QString described = describedFirmware(files); !described.isEmpty())
            return described;
    } catch (const LocalizedError &) {
        // Descriptors that cannot be read describe nothing.
    }
    return isFlashImage(files, usualFirmware) ? usualFirmware : QString();
}

} // namespace

std::optional<EmulatorInstallation> EmulatorInstallation::find()
{
    return find(FileManager::defaultManager());
}

std::optional<EmulatorInstallation> EmulatorInstallation::find(const FileManager &fileManager)
{
    const auto emulator = std::ranges::find_if(
        emulatorPlaces, [&](const QString &path) { return fileManager.isExecutableFile(path); });
    if (emulator == emulatorPlaces.end())
        return std::nullopt;
    const QString code = firmware(fileManager);
    if (code.isEmpty())
        return std::nullopt;
    return EmulatorInstallation{*emulator, code};
}

std::optional<EmulatorInstallation::Version> EmulatorInstallation::versionIn(const std::string &answer)
{
    const QStringList numbers = QString::fromStdString(answer).section(u"version "_s, 1, 1).split(u'.');
    if (numbers.size() < 2)
        return std::nullopt;
    return Version{numbers[0].toInt(), numbers[1].toInt()};
}

std::optional<EmulatorInstallation::Version> EmulatorInstallation::version()
{
    using Answer = std::optional<Version>;
    static QFuture<Answer> question;
    if (question.isFinished() && question.resultCount() == 1 && question.result())
        return question.result();
    if (question.isFinished()) {
        const std::optional<EmulatorInstallation> installation = find();
        const std::string path = installation ? QFile::encodeName(installation->emulator).toStdString() : "";
        const auto ask = [path] {
            return versionIn(emulatorAnswer(path, {"-version"}).value_or(""));
        };
        question = runOnOwnThread(ask);
    }
    return std::nullopt;
}

EmulatorInstallation::Accelerator EmulatorInstallation::accelerator()
{
    return hostKVM().isUsable() ? Accelerator::kvm : Accelerator::tcg;
}
