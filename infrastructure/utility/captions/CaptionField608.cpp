#include "infrastructure/utility/captions/CaptionField608.h"

void CaptionField608::process(uint16_t code)
{
    const bool isControl = (code & 0x7000) == 0x1000;
    const bool isText = (code & 0x6000) != 0;
    if (isControl) {
        current = (code & 0x0800) != 0 ? 1 : 0;
        present[current] = true;
    }
    // What is no text goes to both: a code of the other channel, or filler, parts two equal codes.
    for (int channel = 0; channel < 2; ++channel) {
        const auto index = static_cast<std::size_t>(channel);
        if (!isText || current == index) {
            services[index].process(code, channel);
        }
    }
}
