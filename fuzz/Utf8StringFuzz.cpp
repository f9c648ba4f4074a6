// libFuzzer entry for the Utf8String model check: the input bytes make the
// choices of one script, and any disagreement with the model aborts.
#include "Utf8StringModel.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// Each choice takes one byte, two for bounds above 256; an exhausted input
// ends the script.
class FuzzedChoices : public corvo_model::Choices
{
public:
    FuzzedChoices(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    unsigned int below(unsigned int bound) override
    {
        unsigned int value = take();
        if (bound > 256)
            value = value << 8 | take();
        return value % bound;
    }

    bool exhausted() const override { return m_next >= m_size; }

private:
    unsigned int take() { return m_next < m_size ? m_data[m_next++] : 0; }

    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_next = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedChoices choices(data, size);
    const std::string failure = corvo_model::runScript(choices, 200);
    if (!failure.empty()) {
        std::fputs(failure.c_str(), stderr);
        std::abort();
    }
    return 0;
}
