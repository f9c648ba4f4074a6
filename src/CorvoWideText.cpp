// Wide text to UTF-8. utfcpp encodes; the reading of units is here, because
// utfcpp keeps only the low 16 bits of an element that is wider.
#include "CorvoWideText.h"

#include <cstdint>
#include <iterator>

#include <utf8.h>

namespace Vesk {
namespace Corvo {

namespace {

bool isLead(std::uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isTrail(std::uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

} // namespace

void appendUtf8(std::string& out, const wchar_t* text, std::size_t length, BadUnit bad)
{
    out.reserve(out.size() + length);
    std::back_insert_iterator<std::string> sink(out);
    for (std::size_t i = 0; i < length; ++i) {
        const auto unit = static_cast<std::uint32_t>(text[i]);
        if (unit < 0x80) {
            out += static_cast<char>(unit);
            continue;
        }
        const auto next = i + 1 < length ? static_cast<std::uint32_t>(text[i + 1]) : 0;
        std::uint32_t codePoint = unit;
        if (isLead(unit) && isTrail(next)) {
            codePoint = 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        } else if (unit > 0xFFFF || isLead(unit) || isTrail(unit)) {
            // utf8::utf16to8 names the unit after a lead surrogate, if any.
            if (bad == BadUnit::Throw)
                throw utf8::invalid_utf16(static_cast<utf8::uint16_t>(isLead(unit) && i + 1 < length ? next : unit));
            codePoint = 0xFFFD;
        }
        utf8::append(codePoint, sink);
    }
}

} // namespace Corvo
} // namespace Vesk
