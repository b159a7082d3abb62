#include <QCoreApplication>

namespace {

// What the catalogues have to know; the texts themselves are the model's.
[[maybe_unused]] constexpr const char *names[] = {
    QT_TRANSLATE_NOOP("VMState", "Powered Off"),
    QT_TRANSLATE_NOOP("VMState", "Starting"),
    QT_TRANSLATE_NOOP("VMState", "Running"),
    QT_TRANSLATE_NOOP("VMState", "Paused"),
    QT_TRANSLATE_NOOP("VMState", "Stopping"),
    QT_TRANSLATE_NOOP("VMState", "Suspended"),
    QT_TRANSLATE_NOOP("VMState", "Error"),
    QT_TRANSLATE_NOOP("VMInstallationState", "Not Started"),
    QT_TRANSLATE_NOOP("VMInstallationState", "Ready to Install"),
    QT_TRANSLATE_NOOP("VMInstallationState", "Installing"),
    QT_TRANSLATE_NOOP("VMInstallationState", "Installed"),
    QT_TRANSLATE_NOOP("VMNetworkMode", "Shared (NAT)"),
    QT_TRANSLATE_NOOP("VMNetworkMode", "Disconnected"),
    QT_TRANSLATE_NOOP("GuestOperatingSystem", "Windows 11 ARM64"),
    QT_TRANSLATE_NOOP("GuestOperatingSystem", "Linux ARM64"),
    QT_TRANSLATE_NOOP("GuestOperatingSystem", "Other ARM64 OS"),
    QT_TRANSLATE_NOOP("SidebarSection", "Virtual Machines"),
    QT_TRANSLATE_NOOP("SidebarSection", "Running"),
    QT_TRANSLATE_NOOP("SidebarSection", "Downloads"),
    QT_TRANSLATE_NOOP("SidebarSection", "Settings"),
};

} // namespace
