// Identifiers of any links. What is said of them is bounded and names an input; a nearest lawful
// identifier is lawful.
#include "infrastructure/utility/video/LinkSet.h"
#include "infrastructure/utility/video/NearestPayloadIdentifiers.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Bytes as long as there are any, then zeros.
struct Bytes
{
    const uint8_t* next;
    const uint8_t* end;

    quint32 take(int count)
    {
        quint32 value = 0;
        for (; count > 0; --count) {
            value = value << 8 | (next != end ? *next++ : 0);
        }
        return value;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Bytes bytes{data, data + size};
    std::vector<LinkInput> inputs(bytes.take(1) % 12);
    for (LinkInput& input : inputs) {
        const quint32 kind = bytes.take(1);
        for (quint32 word = 0; word < kind % 4; ++word) {
            input.words.push_back(bytes.take(4));
        }
        if (kind >= 128) {
            input.measured = {bytes.take(2), bytes.take(2), bytes.take(1)};
        }
    }
    const LinkSet set = analyseLinkSet(inputs);
    require((set.standard == nullptr) == (set.form == LinkSetForm::None));
    for (const Finding& finding : set.findings.getFindings()) {
        require(finding.place.link >= -1 && finding.place.link < 16);
        require(!finding.toString().isEmpty());
    }
    if (!inputs.empty() && !inputs[0].words.empty()) {
        for (const quint32 word : findNearestPayloadIdentifiers(inputs[0].words[0])) {
            require(isPayloadIdentifierLawful(word));
        }
    }
    return 0;
}
