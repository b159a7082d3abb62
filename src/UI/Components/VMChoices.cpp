#include "UI/Components/VMChoices.h"

#include "App/State/LocalizedName.h"
#include "Models/VMConfiguration.h"
#include "Platform/BinaryUnits.h"

namespace {

template<typename List, typename Text>
QStringList textsOf(const List &list, Text text)
{
    QStringList texts;
    for (const auto &value : list)
        texts.append(text(value));
    return texts;
}

} // namespace

QStringList VMChoices::guests() const
{
    return textsOf(allCases<GuestOperatingSystem>,
                   [](GuestOperatingSystem guestOS) { return localizedName(guestOS); });
}

QStringList VMChoices::guestBackends() const
{
    return textsOf(allCases<GuestOperatingSystem>,
                   [](GuestOperatingSystem guestOS) { return displayName(recommendedBackend(guestOS)); });
}

QStringList VMChoices::mediaTypes() const
{
    return {tr("ISO file"), tr("Existing VM disk"), tr("Installation image")};
}

QStringList VMChoices::memorySizes() const
{
    return textsOf(VMConfiguration::memoryOptions(), &VMChoices::sizeText);
}

QStringList VMChoices::diskSizes() const
{
    return textsOf(VMConfiguration::diskOptions(), &VMChoices::sizeText);
}

QStringList VMChoices::networks() const
{
    return textsOf(allCases<VMNetworkMode>, [](VMNetworkMode mode) { return localizedName(mode); });
}

QString VMChoices::sizeText(quint64 bytes)
{
    return bytes == tebibyte ? tr("1 TB") : tr("%1 GB").arg(bytes / gibibyte);
}
