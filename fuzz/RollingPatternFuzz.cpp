// LogToRollingFilePolicy with any file-name pattern (without a '/', which
// would leave its directory): making the policy, writing a record that rolls
// and ending it never crash. Each input starts with an empty directory.
#include "CorvoException.h"
#include "FuzzText.h"
#include "ZimException.h"
#include "ZimLogToRollingFilePolicy.h"

#include <filesystem>

namespace {

const std::filesystem::path& directory()
{
    static const std::filesystem::path path = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvo-fuzz-XXXXXX").string();
        if (!mkdtemp(&pattern[0]))
            corvo_fuzz::broken("no directory for the log files");
        return std::filesystem::path(pattern);
    }();
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string pattern = corvo_fuzz::narrowText(data, size);
    if (pattern.find('/') != std::string::npos || pattern.find('\0') != std::string::npos)
        return 0;
    try {
        Vesk::Zim::LogToRollingFilePolicy policy(directory().string(), pattern, 2, 16);
        policy.log("head ", std::string("a record longer than the limit"));
        policy.log("head ", std::string("and one more"));
    } catch (const Vesk::Zim::Exception&) {
    } catch (const Vesk::Corvo::Exception&) {
    }
    for (const auto& entry : std::filesystem::directory_iterator(directory()))
        std::filesystem::remove_all(entry.path());
    return 0;
}
