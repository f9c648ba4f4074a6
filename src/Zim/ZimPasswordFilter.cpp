// Logger::filterPassword: masks password values in URL queries and JSON
// fields before a text is logged.
#include "ZimLogger.h"

namespace Vesk {
namespace Zim {

std::string Logger::filterPassword(const std::string& text)
{
    const std::string stem = "password";
    const std::string mask = "********";
    const std::string quote = "\"";
    const std::string jsonKey = quote + stem + quote + ":" + quote;
    const std::string queryStartKey = "?" + stem + "=";
    const std::string queryNextKey = "&" + stem + "=";
    const std::vector<std::string> shortList = {" ", ","};
    const std::vector<std::string> longList = {quote, " ", ","};

    std::string filtered = text;
    // Only the first "?password=" can start a query.
    replacePasswordOccurrence(filtered, 0, queryStartKey, "&", longList, false, mask);
    for (int position = 0; position != -1;)
        position = replacePasswordOccurrence(filtered, position, jsonKey, quote, shortList, false, mask);
    for (int position = 0; position != -1;)
        position = replacePasswordOccurrence(filtered, position, queryNextKey, "&", longList, true, mask);
    return filtered;
}

// Masks the value behind the first keyword from position on and returns
// where the pass goes on, or -1 when it is over. A value ends at the
// terminator; failing that, with useAlternatives, at the first entry of
// alternatives (in list order) that occurs at all; failing that, at the end
// of the text.
int Logger::replacePasswordOccurrence(std::string& text, int position, const std::string& keyword,
                                      const std::string& terminator,
                                      const std::vector<std::string>& alternatives,
                                      bool useAlternatives, const std::string& mask)
{
    typedef std::string::size_type Index;
    const Index none = std::string::npos;
    if (position == -1)
        return -1;
    const Index found = text.find(keyword, static_cast<Index>(position));
    if (found == none)
        return -1;
    // A keyword at the very end has no value, and the pass ends there.
    const Index valueStart = found + keyword.size();
    if (valueStart >= text.size())
        return -1;

    // Puts the mask over [valueStart, end) and gives the end's new index.
    auto maskUpTo = [&](Index end) {
        text.replace(valueStart, end - valueStart, mask);
        return valueStart + mask.size();
    };

    Index resume;
    const Index end = text.find(terminator, valueStart);
    if (end == valueStart) {
        resume = valueStart; // an empty value stays empty
    } else if (end != none) {
        resume = maskUpTo(end);
    } else {
        Index alternativeEnd = none;
        if (useAlternatives)
            for (std::vector<std::string>::const_iterator a = alternatives.begin();
                 a != alternatives.end() && alternativeEnd == none; ++a)
                alternativeEnd = text.find(*a, valueStart);
        if (alternativeEnd == none) {
            text.replace(valueStart, none, mask);
            return -1;
        }
        // Unlike the terminator, an alternative right at valueStart still
        // gets the mask in front of it.
        resume = maskUpTo(alternativeEnd);
    }

    // Going on from the end character itself finds a keyword that starts
    // there; otherwise the next keyword further on.
    const Index next = text.find(keyword, resume + 1);
    return static_cast<int>(next != none ? next : resume);
}

} // namespace Zim
} // namespace Vesk
