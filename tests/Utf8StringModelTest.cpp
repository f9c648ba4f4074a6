// Random scripts of edits and reads, checked step by step against the
// code-point model.
#include "Utf8StringModel.h"

#include <gtest/gtest.h>

#include <random>

namespace {

class SeededChoices : public corvo_model::Choices
{
public:
    explicit SeededChoices(unsigned int seed) : m_random(seed) {}
    unsigned int below(unsigned int bound) override { return m_random() % bound; }
    bool exhausted() const override { return false; }

private:
    std::mt19937 m_random;
};

} // namespace

TEST(Utf8StringModel, EditsAndReadsAgreeWithTheCodePointModel)
{
    const unsigned int seed = 20261123;
    for (unsigned int script = 0; script < 4000; ++script) {
        SeededChoices choices(seed + script);
        const std::string failure = corvo_model::runScript(choices, 30);
        ASSERT_EQ(failure, "") << "seed " << seed + script << " (script " << script << ")";
    }
}
