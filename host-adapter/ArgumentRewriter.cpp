#include "ArgumentRewriter.h"

#include <charconv>
#include <string_view>

namespace {

constexpr unsigned processorsOfDefaultInterruptController = 8;
/// Signed pointers cost an emulated guest more than half of its time.
constexpr const char *emulatedProcessor = "max,pauth=off";

/// Calls `visit(option, value)` for each pair; the strings' constness is the range's.
void forEachPair(auto &list, auto visit)
{
    for (std::size_t i = 0; i + 1 < list.size(); i += 2)
        visit(std::string_view(list[i]), list[i + 1]);
}

bool startsGuest(std::span<const std::string> arguments)
{
    bool asksForAcceleration = false;
    bool isInPairs = arguments.size() % 2 == 0;
    forEachPair(arguments, [&](std::string_view option, const std::string &value) {
        isInPairs = isInPairs && option.starts_with('-');
        asksForAcceleration = asksForAcceleration || (option == "-accel" && value == "hvf");
    });
    return isInPairs && asksForAcceleration;
}

/// 0 if `text` is not a number from 1.
unsigned count(std::string_view text)
{
    unsigned result = 0;
    const auto end = text.data() + text.size();
    return std::from_chars(text.data(), end, result).ptr == end ? result : 0;
}

} // namespace

ArgumentRewriter::ArgumentRewriter(std::span<const std::string> arguments)
    : m_arguments(arguments)
    , m_startsGuest(::startsGuest(arguments))
{}

std::vector<std::string> ArgumentRewriter::rewritten(const HostOffer &offer) const
{
    std::vector<std::string> result(m_arguments.begin(), m_arguments.end());
    if (!m_startsGuest)
        return result;
    std::string *machine = nullptr;
    unsigned processors = 0;
    forEachPair(result, [&](std::string_view option, std::string &value) {
        const auto replace = [&value](std::string_view beginning, std::string_view replacement) {
            if (value.starts_with(beginning))
                value.replace(0, beginning.size(), replacement);
        };
        if (option == "-accel")
            replace("hvf", offer.hardwareAcceleration ? "kvm" : "tcg");
        else if (option == "-cpu" && !offer.hardwareAcceleration)
            replace("host", emulatedProcessor);
        else if (option == "-smp")
            processors = count(value);
        else if (option == "-machine")
            machine = &value;
        if (option != "-device")
            return;
        if (!offer.tpmCrbDevice)
            replace("tpm-crb-device", "tpm-tis-device");
        if (!offer.displayDriver)
            replace("virtio-gpu-pci", "ramfb");
        replace("virtio-net-pci", "virtio-net-pci,romfile=");
    });
    if (machine != nullptr && processors > processorsOfDefaultInterruptController)
        machine->append(",gic-version=max");
    result.insert(result.begin(), {"-rtc", "base=localtime"});
    return result;
}
