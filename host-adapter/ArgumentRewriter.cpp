#include "ArgumentRewriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace {

constexpr std::string_view requestedAccelerator = "hvf";
// Signed pointers cost an emulated guest more than half of its time.
constexpr std::string_view emulatedProcessor = "max,pauth=off";
constexpr std::string_view crbDevice = "tpm-crb-device";
constexpr std::string_view tisDevice = "tpm-tis-device";
constexpr std::string_view driverDisplay = "virtio-gpu-pci";
constexpr std::string_view firmwareDisplay = "ramfb";
constexpr std::string_view networkDevice = "virtio-net-pci";
// More needs a version 3 interrupt controller, which the machine does not choose by itself under emulation.
constexpr unsigned processorsOfDefaultInterruptController = 8;

// Every other option of qemu-system-aarch64 7.2 takes the argument that follows it. (By itself clang-format
// puts each of the names on a line of its own.)
// clang-format off
constexpr std::array<std::string_view, 28> optionsWithoutValue{
    "S", "s", "h", "help", "version", "daemonize", "nodefaults", "no-user-config", "nographic",
    "no-reboot", "no-shutdown", "snapshot", "usb", "full-screen", "portrait", "enable-kvm",
    "no-acpi", "preconfig", "singlestep", "old-param", "semihosting", "xen-attach",
    "xen-domid-restrict", "audio-help", "only-migratable", "mem-prealloc", "async-teardown",
    "enable-sync-profile"};
// clang-format on

/// The parameters of an option's value; a doubled comma belongs to the text around it.
std::vector<std::string_view> parameters(std::string_view value)
{
    std::vector<std::string_view> result;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != ',')
            continue;
        if (i + 1 < value.size() && value[i + 1] == ',') {
            ++i;
            continue;
        }
        result.push_back(value.substr(begin, i - begin));
        begin = i + 1;
    }
    result.push_back(value.substr(begin));
    return result;
}

std::string_view head(std::string_view value)
{
    return parameters(value).front();
}

std::string withHead(std::string_view value, std::string_view replacement)
{
    return std::string(replacement).append(value.substr(head(value).size()));
}

bool isQuestion(std::string_view value)
{
    return std::ranges::any_of(parameters(value), [](std::string_view parameter) {
        return parameter == "help" || parameter == "?";
    });
}

/// `beginning` is a name with its "=".
bool hasParameter(std::string_view value, std::string_view beginning)
{
    return std::ranges::any_of(parameters(value), [beginning](std::string_view parameter) {
        return parameter.starts_with(beginning);
    });
}

bool isVirtMachine(std::string_view value)
{
    std::string_view type = head(value);
    if (type.starts_with("type="))
        type.remove_prefix(5);
    return type == "virt" || type.starts_with("virt-");
}

/// The greatest of the counts in a -smp value; 0 when there is none to read.
unsigned processorCount(std::string_view value)
{
    unsigned greatest = 0;
    bool isFirst = true;
    for (std::string_view parameter : parameters(value)) {
        const bool isBareCount = isFirst && parameter.find('=') == std::string_view::npos;
        isFirst = false;
        if (parameter.starts_with("cpus="))
            parameter.remove_prefix(5);
        else if (parameter.starts_with("maxcpus="))
            parameter.remove_prefix(8);
        else if (!isBareCount)
            continue;
        unsigned count = 0;
        const auto end = parameter.data() + parameter.size();
        const auto [rest, error] = std::from_chars(parameter.data(), end, count);
        if (error == std::errc() && rest == end)
            greatest = std::max(greatest, count);
    }
    return greatest;
}

} // namespace

ArgumentRewriter::ArgumentRewriter(std::span<const std::string> arguments)
    : m_arguments(arguments)
{
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view name = arguments[i];
        if (!name.starts_with('-'))
            continue;
        name.remove_prefix(name.starts_with("--") ? 2 : 1);
        if (std::ranges::find(optionsWithoutValue, name) != optionsWithoutValue.end())
            continue;
        if (++i < arguments.size())
            m_options.push_back({.name = std::string(name == "M" ? "machine" : name), .valueIndex = i});
    }
}

bool ArgumentRewriter::asksForAcceleration() const
{
    return std::ranges::any_of(m_options, [this](const Option &option) {
        return option.name == "accel" && head(m_arguments[option.valueIndex]) == requestedAccelerator;
    });
}

bool ArgumentRewriter::asksForTpmCrbDevice() const
{
    return std::ranges::any_of(m_options, [this](const Option &option) {
        const std::string &value = m_arguments[option.valueIndex];
        return option.name == "device" && head(value) == crbDevice && !isQuestion(value);
    });
}

std::vector<std::string> ArgumentRewriter::rewritten(const HostOffer &offer) const
{
    std::vector<std::string> result(m_arguments.begin(), m_arguments.end());
    const bool isEmulated = asksForAcceleration() && !offer.hardwareAcceleration;
    std::string *lastMachine = nullptr;
    for (const Option &option : m_options) {
        std::string &value = result[option.valueIndex];
        const std::string_view first = head(value);
        if (option.name == "accel" && first == requestedAccelerator)
            value = withHead(value, isEmulated ? "tcg" : "kvm");
        else if (option.name == "cpu" && first == "host" && isEmulated)
            value = withHead(value, emulatedProcessor);
        else if (option.name == "device" && first == crbDevice && !offer.tpmCrbDevice && !isQuestion(value))
            value = withHead(value, tisDevice);
        else if (option.name == "device" && value == driverDisplay && !offer.displayDriver)
            value = firmwareDisplay;
        else if (option.name == "device" && first == networkDevice && !isQuestion(value) &&
                 !hasParameter(value, "romfile="))
            value += ",romfile=";
        else if (option.name == "machine" && isVirtMachine(value) && !isQuestion(value))
            lastMachine = &value;
    }
    if (lastMachine != nullptr && needsInterruptControllerVersion())
        *lastMachine = withHead(*lastMachine, std::string(head(*lastMachine)).append(",gic-version=max"));
    const bool hasClock =
        std::ranges::any_of(m_options, [](const Option &option) { return option.name == "rtc"; });
    // At the front, where no option without its value can take it for that.
    if (asksForAcceleration() && !hasClock)
        result.insert(result.begin(), {"-rtc", "base=localtime"});
    return result;
}

bool ArgumentRewriter::needsInterruptControllerVersion() const
{
    unsigned processors = 0;
    for (const Option &option : m_options) {
        const std::string_view value = m_arguments[option.valueIndex];
        if (option.name == "smp")
            processors = processorCount(value);
        if (option.name != "machine")
            continue;
        if (hasParameter(value, "gic-version="))
            return false;
    }
    return processors > processorsOfDefaultInterruptController;
}
