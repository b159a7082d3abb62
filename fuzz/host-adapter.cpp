#include "ArgumentRewriter.h"
#include "Require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The first byte's lowest bits choose what the host offers, the rest is an argument list with a line per
/// argument.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const HostOffer offer{.hardwareAcceleration = (data[0] & 1) != 0,
                          .tpmCrbDevice = (data[0] & 2) != 0,
                          .displayDriver = (data[0] & 4) != 0};
    const std::string text(data + 1, data + size);
    std::vector<std::string> arguments;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        arguments.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }

    const ArgumentRewriter rewriter(arguments);
    const std::vector<std::string> result = rewriter.rewritten(offer);
    require(result.size() == arguments.size() || result.size() == arguments.size() + 2);
    // What was rewritten once needs nothing more: no other option or value was touched on the way.
    const ArgumentRewriter again(result);
    require(!again.asksForAcceleration());
    require(offer.tpmCrbDevice || !again.asksForTpmCrbDevice());
    require(again.rewritten(offer) == result);
    return 0;
}
