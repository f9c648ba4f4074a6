// Differential check of Utf8String against a model: a std::u32string edited
// and searched by code-point positions, with the refusals that Utf8String
// makes written into it. The unit test drives it from a seeded generator, the
// fuzzer from its input bytes.
#ifndef CORVO_UTF8_STRING_MODEL_H
#define CORVO_UTF8_STRING_MODEL_H

#include <string>

namespace corvo_model {

// Where the choices of one script come from.
class Choices
{
public:
    virtual ~Choices() = default;
    // A number below bound, which is at least 1.
    virtual unsigned int below(unsigned int bound) = 0;
    // No further choices worth making: the script stops.
    virtual bool exhausted() const = 0;
};

// Runs up to `steps` random edits and reads on one text and on the model,
// comparing outcome, result and text after every step. Returns an empty
// string when they agree throughout, else the steps up to the first
// disagreement.
std::string runScript(Choices& choices, unsigned int steps);

} // namespace corvo_model

#endif
