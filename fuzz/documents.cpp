#include "Models/VMConfigurationCoding.h"
#include "Models/VMPersistedMetadata.h"
#include "Platform/LocalizedError.h"
#include "Require.h"

#include <cstddef>
#include <cstdint>

namespace {

/// What can be read can be written and read again, and is then the same; what cannot be read says so.
template<typename Decode, typename Encode>
void readAndWrite(const QByteArray &document, const Decode &decode, const Encode &encode)
{
    try {
        const QByteArray written = encode(decode(document));
        require(encode(decode(written)) == written);
    } catch (const LocalizedError &error) {
        require(!error.localizedDescription().isEmpty());
    }
}

} // namespace

/// The input is taken for a "config.json" and for a "metadata.json".
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray document(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    readAndWrite(document, decodeConfiguration, encodeConfiguration);
    readAndWrite(document, decodeMetadata, encodeMetadata);
    return 0;
}
