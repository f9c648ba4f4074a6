// The code-point model of Utf8String and the scripts that drive both: each
// step edits or reads the text and a std::u32string alike, and compares them.
#include "Utf8StringModel.h"

#include "CorvoException.h"
#include "CorvoUtf8String.h"
#include "ReportReason.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <sstream>

using Vesk::Corvo::Utf8String;

namespace corvo_model {
namespace {

typedef std::u32string Model;
typedef Utf8String::iterator Iterator;
typedef std::function<bool(char32_t)> Test;

const unsigned int npos = Utf8String::npos;

// Code points of one to four bytes, the byte order mark, NUL and the mark of
// repair, few enough that searches hit. NUL comes last: the const char* forms
// leave it out.
const char32_t alphabet[] = {U'a', U'b', 0xE9, 0x20AC, 0x1F600, 0xFEFF, 0xFFFD, 0};
const unsigned int alphabetSize = sizeof alphabet / sizeof alphabet[0];

// The model's refusals travel as the outcome text they must match.
[[noreturn]] void refuse(const std::string& outcome) { throw outcome; }

const std::string badPosition = "std::out_of_range: invalid string position";
const std::string tooLong = "std::length_error: string too long";
const std::string badCodePoint = "utf8::invalid_code_point: Invalid code point";
const std::string encodingFailure = "StringEncodingException: ";

std::string outcomeOf(const std::function<void()>& f)
{
    try {
        return corvo_test::outcomeOf(f);
    } catch (const std::string& refusal) {
        return refusal;
    }
}

[[noreturn]] long long invalid() { refuse(encodingFailure + "Invalid code point"); }

bool isValid(char32_t c) { return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF); }

std::string encode(const Model& m)
{
    std::string bytes;
    for (char32_t c : m)
        utf8::append(static_cast<utf8::uint32_t>(c), std::back_inserter(bytes));
    return bytes;
}

std::string show(const Model& m)
{
    std::ostringstream out;
    out << '[' << std::hex;
    for (char32_t c : m)
        out << ' ' << static_cast<unsigned long>(c);
    out << " ]";
    return out.str();
}

// Bytes for the const char* and std::string forms: code points with the odd
// 0xFF among them, which repair turns into U+FFFD and a strict walk stops at.
// Repaired, they are the code points of a source text.
struct Bytes
{
    std::string bytes;
    Model repaired, beforeBad;
    bool clean = true;
};

// ---------------------------------------------------------------------------
// The model's side of the rules

// A count past the end reaches to the end.
Model part(const Model& t, unsigned int pos, unsigned int n = 0)
{
    if (pos > t.size())
        refuse(badPosition);
    return t.substr(pos, n);
}

// A count that goes with bytes must be met exactly.
Model counted(const Bytes& s, unsigned int n)
{
    if (n == npos || n > s.beforeBad.size())
        refuse(tooLong);
    return s.beforeBad.substr(0, n);
}

// Utf8String(n, codePoint) and the forms that go through it refuse npos
// first; for append(n, codePoint) it is no refusal of its own, the length
// runs out.
Model repeated(unsigned int n, char32_t c, bool appending = false)
{
    if (n == npos && !appending)
        refuse(encodingFailure + "Utf8String::npos not allowed here");
    if (n != 0 && !isValid(c))
        refuse(badCodePoint);
    if (n == npos)
        refuse(tooLong);
    return Model(n, c);
}

void resized(Model& m, unsigned int n, char32_t c)
{
    if (n <= m.size())
        return m.resize(n);
    m += repeated(n == npos ? npos : n - static_cast<unsigned int>(m.size()), c, true);
}

// The target position is checked before the source is looked at.
void splice(Model& t, unsigned int pos, unsigned int n, const std::function<Model()>& with)
{
    part(t, pos);
    t.replace(pos, n, with());
}

// find and rfind of a needle.
long long modelFind(const Model& t, const Model& needle, unsigned int pos, bool backward = false)
{
    const std::size_t hit = backward ? t.rfind(needle, pos) : pos > t.size() ? Model::npos : t.find(needle, pos);
    if (hit == Model::npos || t.empty())
        return npos;
    if (hit == t.size())
        refuse(encodingFailure + "Index is out of range for std::string utf8_str");
    return static_cast<long long>(hit);
}

// The find_first/last_(not_)of walks: a backward one refuses a start past the end.
long long scan(const Model& t, unsigned int pos, const Test& hit, bool backward = false)
{
    if (backward && !t.empty() && pos != npos && pos >= t.size())
        refuse(badPosition);
    for (std::size_t i = backward ? std::min<std::size_t>(pos, t.size() - 1) : pos; i < t.size(); backward ? --i : ++i)
        if (hit(t[i]))
            return static_cast<long long>(i);
    return npos;
}

Test in(const Model& set, bool inside = true)
{
    return [set, inside](char32_t x) { return (set.find(x) != Model::npos) == inside; };
}

long long modelCompare(const Model& a, unsigned int pos1, unsigned int count1, const Model& b, unsigned int pos2,
                       unsigned int count2)
{
    if (pos1 > a.size() || pos2 > b.size())
        refuse(encodingFailure + "Index is out of range for Corvo::Utf8String");
    const std::size_t n1 = count1 == npos ? a.size() - pos1 : count1;
    const std::size_t n2 = count2 == npos ? b.size() - pos2 : count2;
    for (std::size_t i = 0; i < std::min(n1, n2); ++i) {
        if (pos1 + i >= a.size() || pos2 + i >= b.size())
            refuse(badPosition);
        if (a[pos1 + i] != b[pos2 + i])
            return a[pos1 + i] < b[pos2 + i] ? -1 : 1;
    }
    return n1 == n2 ? 0 : (n1 < n2 ? -1 : 1);
}

// The six relational operators as six bits.
template <typename A, typename B>
long long relations(const A& a, const B& b)
{
    return (a == b) | (a != b) << 1 | (a < b) << 2 | (a <= b) << 3 | (a > b) << 4 | (a >= b) << 5;
}

// ---------------------------------------------------------------------------
// The script

struct Script
{
    explicit Script(Choices& choices) : m_choices(choices) {}
    bool step();
    unsigned int pick(unsigned int bound) { return m_choices.below(bound); }

    char32_t codePoint()
    {
        const unsigned int k = pick(12);
        return k == 0 ? 0xD800 : k == 1 ? 0x110000 : alphabet[pick(alphabetSize)];
    }

    // Positions run a little past the end, counts a little past what is
    // there, and either may be npos.
    unsigned int position(std::size_t size) { return pick(10) == 0 ? npos : pick(static_cast<unsigned int>(size) + 3); }
    unsigned int count() { return pick(8) == 0 ? npos : pick(5); }

    Bytes bytes(bool withNul)
    {
        Bytes b;
        for (unsigned int n = pick(6); n > 0; --n) {
            const bool bad = pick(8) == 0;
            const char32_t c = bad ? 0xFFFD : alphabet[pick(withNul ? alphabetSize : alphabetSize - 1)];
            b.bytes += bad ? std::string("\xFF") : encode(Model(1, c));
            b.repaired += c;
            if ((b.clean = b.clean && !bad))
                b.beforeBad += c;
        }
        return b;
    }

    Iterator iteratorAt(unsigned int pos) { return std::next(m_text.begin(), pos); }
    unsigned int positionOf(const Iterator& it) { return utf8::distance(m_text.begin().base(), it.base()); }

    // copy() into a buffer whose bytes behind the copy must stay as they
    // were; the copy becomes the text, and the result is its length or -1.
    long long copyOut(unsigned int n, unsigned int pos)
    {
        std::string buffer(m_text.bytes() + 1, '#');
        const unsigned int copied = m_text.copy(&buffer[0], n, pos);
        const bool clean = buffer.find_first_not_of('#', copied) == std::string::npos;
        m_text = buffer.substr(0, copied);
        return clean ? copied : -1;
    }

    // Runs the operation on the text and on a copy of the model; outcome,
    // result and text (bytes, size and code points both ways) must agree. A
    // refused operation leaves both alone.
    bool check(const std::string& call, const std::function<long long()>& real,
               const std::function<long long(Model&)>& expected)
    {
        m_log << call << '\n';
        Model next = m_model;
        long long want = 0, got = 0;
        const std::string wantOutcome = outcomeOf([&] { want = expected(next); });
        const std::string gotOutcome = outcomeOf([&] { got = real(); });
        if (wantOutcome == "ok")
            m_model = next;
        if (gotOutcome != wantOutcome || got != want) {
            m_log << "  " << gotOutcome << ", " << got << ", expected " << wantOutcome << ", " << want << '\n';
            return false;
        }
        const Model now(m_text.begin(), m_text.end());
        Model backward;
        for (Iterator it = m_text.end(); it != m_text.begin();)
            backward.insert(backward.begin(), *--it);
        if (std::string(m_text.c_str(), m_text.bytes() + 1) != encode(m_model) + '\0' || now != m_model ||
            backward != m_model || m_text.size() != m_model.size()) {
            m_log << "  text " << show(now) << " of " << m_text.bytes() << " bytes, expected " << show(m_model) << '\n';
            return false;
        }
        return true;
    }

    Choices& m_choices;
    Utf8String m_text;
    Model m_model;
    std::ostringstream m_log;
};

// A step, logged as the call on the text that it makes; the values that it
// uses are logged before it. EDIT compares the texts, READ the results too.
#define EDIT(real, ...) check(#real, [&] { return real, 0ll; }, [&](Model& m) { return __VA_ARGS__, 0ll; })
#define READ(real, ...) check(#real, [&] { return real; }, [&](Model& m) { return __VA_ARGS__; })

bool Script::step()
{
    const bool reading = pick(3) == 0;
    const std::size_t size = m_model.size();
    // The source or needle is now and then the target itself, as it was (no
    // doubling without end), or a piece of it.
    const bool self = size < 64 && pick(4) == 0;
    const Model sourceModel = self ? m_model
                            : pick(4) == 0 ? m_model.substr(pick(static_cast<unsigned int>(size) + 1), pick(3))
                                           : bytes(true).repaired;
    Utf8String other(encode(sourceModel));
    Utf8String& source = self ? m_text : other;
    const unsigned int pos = position(size), n = count();
    const unsigned int pos2 = position(sourceModel.size()), n2 = count();
    const char32_t c = codePoint();
    const unsigned long cp = c;
    const Bytes b = bytes(false), w = bytes(true);
    const char* const s = b.bytes.c_str();
    // Iterator positions stay inside the text.
    const unsigned int i1 = pick(static_cast<unsigned int>(size) + 1);
    const unsigned int i2 = i1 + pick(static_cast<unsigned int>(size - i1) + 1);
    const Model range = m_model.substr(i1, i2 - i1);
    const unsigned int form = pick(3), step = reading ? pick(22) : pick(47);
    // Unrepaired bytes as a needle: with a bad byte among them they never
    // match in valid text, as U+00FF, which no text here holds, never does.
    const Model raw = b.clean ? b.repaired : Model(1, 0xFF);
    // A counted needle that the walk does not find finds nothing.
    const bool walked = n != npos && n <= b.beforeBad.size();
    const Model countedNeedle = b.beforeBad.substr(0, walked ? n : 0);
    m_log << show(m_model) << ": source " << (self ? "self" : show(sourceModel)) << ", pos " << pos << ", n " << n
          << ", pos2 " << pos2 << ", n2 " << n2 << ", cp " << cp << ", s " << show(b.repaired) << ", w "
          << show(w.repaired) << ", iterators at " << i1 << ", " << i2 << ", form " << form << ", "
          << (reading ? "read " : "edit ") << step << '\n';

    if (reading)
        switch (step) {
        case 0: return READ(m_text.compare(pos, n, source, pos2, n2), modelCompare(m, pos, n, sourceModel, pos2, n2));
        case 1: return READ(m_text.compare(pos, n, s, n2), modelCompare(m, pos, n, b.repaired, 0, n2));
        case 2: // all three forms of the six relations
            return READ(relations(m_text, source) | relations(m_text, s) << 6 | relations(s, m_text) << 12,
                        relations(m, sourceModel) | relations(m, b.repaired) << 6 | relations(b.repaired, m) << 12);
        case 3: return EDIT(m_text = m_text.substr(pos, n), m = part(m, pos, n));
        case 4: return READ(m_text.find(source, pos), modelFind(m, sourceModel, pos));
        case 5: return READ(m_text.rfind(source, pos), modelFind(m, sourceModel, pos, true));
        case 6: return READ(m_text.find(s, pos, n), walked ? modelFind(m, countedNeedle, pos) : npos);
        case 7: return READ(m_text.rfind(s, pos, n), walked ? modelFind(m, countedNeedle, pos, true) : npos);
        case 8: return READ(m_text.find(s, pos), modelFind(m, raw, pos));
        case 9: return READ(m_text.rfind(s, pos), modelFind(m, raw, pos, true));
        case 10: // the code-point forms of find_first_of and find_last_of are find and rfind
        case 11:
            return READ(step == 10 ? (form == 0 ? m_text.find(cp, pos) : m_text.find_first_of(cp, pos))
                                   : (form == 0 ? m_text.rfind(cp, pos) : m_text.find_last_of(cp, pos)),
                        isValid(c) ? modelFind(m, Model(1, c), pos, step == 11) : invalid());
        case 12: return READ(m_text.find_first_of(source, pos), scan(m, pos, in(sourceModel)));
        case 13: return READ(m_text.find_last_of(source, pos), scan(m, pos, in(sourceModel), true));
        case 14: return READ(m_text.find_first_not_of(source, pos), scan(m, pos, in(sourceModel, false)));
        case 15: return READ(m_text.find_last_not_of(source, pos), scan(m, pos, in(sourceModel, false), true));
        case 16: return READ(m_text.find_first_of(s, pos, n), scan(m, pos, in(counted(b, n))));
        case 17: return READ(m_text.find_last_not_of(s, pos, n), scan(m, pos, in(counted(b, n), false), true));
        case 18: return READ(m_text.find_last_of(s, pos), scan(m, pos, in(b.repaired), true));
        case 19: return READ(m_text.find_first_not_of(s, pos), scan(m, pos, in(b.repaired, false)));
        case 20: // the other code point
            return READ(form == 0 ? m_text.find_first_not_of(cp, pos) : m_text.find_last_not_of(cp, pos),
                        scan(m, pos, in(Model(1, c), false), form != 0));
        default: // at() and [] are one operation
            return READ(form == 0 ? m_text[pos] : m_text.at(pos),
                        pos < m.size() ? static_cast<long long>(m[pos]) : (refuse(badPosition), 0));
        }

    if (step < 20) { // append, assign, insert(pos, ...), replace(pos, n, ...), construct: four sources that all take
        const unsigned int op = step / 4;
        const auto to = [&](auto&&... a) -> Utf8String& {
            return op == 0 ? m_text.append(a...) : op == 1 ? m_text.assign(a...) : op == 2 ? m_text.insert(pos, a...)
                 : op == 3 ? m_text.replace(pos, n, a...) : (m_text = Utf8String(a...));
        };
        const unsigned int at = op == 0 ? static_cast<unsigned int>(size) : op == 2 || op == 3 ? pos : 0;
        const unsigned int cut = op == 1 || op == 4 ? npos : op == 3 ? n : 0;
        switch (step % 4) {
        case 0: return EDIT(to(source), splice(m, at, cut, [&] { return sourceModel; }));
        case 1: return EDIT(to(source, pos2, n2), splice(m, at, cut, [&] { return part(sourceModel, pos2, n2); }));
        case 2: return EDIT(to(s, n2), splice(m, at, cut, [&] { return counted(b, n2); }));
        default: // the code points are made before the target is looked at
            return EDIT(to(n2, cp), splice(m, at, cut, [with = repeated(n2, c, op == 0)] { return with; }));
        }
    }
    switch (step) {
    case 20: return EDIT(m_text.append(w.bytes), m += w.repaired);
    case 21: return EDIT(form == 0 ? m_text.append(s) : (m_text += s), m += b.repaired);
    case 22: return EDIT(form == 0 ? m_text.push_back(cp) : void(m_text += cp), m += repeated(1, c));
    case 23: return EDIT(m_text.append(iteratorAt(i1), iteratorAt(i2)), m += range);
    case 24: return EDIT(m_text = source, m = sourceModel);
    case 25: // the repairing forms
        return EDIT(form == 0 ? m_text.assign(s) : form == 1 ? (m_text = s) : (m_text = Utf8String(s)), m = b.repaired);
    case 26:
        return EDIT(form == 0 ? m_text.assign(w.bytes) : form == 1 ? (m_text = w.bytes) : (m_text = Utf8String(w.bytes)),
                    m = w.repaired);
    case 27: return EDIT(m_text.assign(iteratorAt(i1), iteratorAt(i2)), m = range);
    case 28: // unexamined bytes: only valid ones, so that the text stays readable
        return EDIT(m_text.insert(pos, encode(b.beforeBad).c_str()), splice(m, pos, 0, [&] { return b.beforeBad; }));
    case 29: return READ(positionOf(m_text.insert(iteratorAt(i1), cp)), isValid(c) ? (m.insert(i1, 1, c), i1) : invalid());
    case 30: return EDIT(m_text.insert(iteratorAt(i1), n, cp), m.insert(i1, repeated(n, c)));
    case 31: return EDIT(m_text.insert(m_text.begin(), iteratorAt(i1), iteratorAt(i2)), m.insert(0, range));
    case 32: return EDIT(m_text.erase(pos, n), splice(m, pos, n, [] { return Model(); }));
    case 33:
        return READ(positionOf(m_text.erase(iteratorAt(i1))),
                    i1 < m.size() ? (m.erase(i1, 1), i1) : (refuse("utf8::not_enough_room: Not enough space"), 0));
    case 34: return READ(positionOf(m_text.erase(iteratorAt(i1), iteratorAt(i2))), (m.erase(i1, i2 - i1), i1));
    case 35: return EDIT(m_text.replace(pos, n, s), splice(m, pos, n, [&] { return b.repaired; }));
    case 36: return EDIT(m_text.replace(iteratorAt(i1), iteratorAt(i2), source), m.replace(i1, i2 - i1, sourceModel));
    case 37: return EDIT(m_text.replace(iteratorAt(i1), iteratorAt(i2), s, n), m.replace(i1, i2 - i1, counted(b, n)));
    case 38:
        return EDIT(m_text.replace(iteratorAt(i1), iteratorAt(i2), n2, cp), m.replace(i1, i2 - i1, repeated(n2, c)));
    case 39: // all five forms of operator+
        return EDIT(m_text = s + (cp + source) + source + cp + s,
                    m = b.repaired + repeated(1, c) + sourceModel + sourceModel + repeated(1, c) + b.repaired);
    case 40: return EDIT(m_text = Utf8String(iteratorAt(i1), iteratorAt(i2)), m = range);
    case 41: return EDIT(m_text = cp, m = repeated(1, c));
    case 42: return EDIT(m_text.resize(pos, cp), resized(m, pos, c));
    case 43: return EDIT(m_text.clear(), m.clear());
    case 44: return EDIT(m_text.swap(source), m = sourceModel);
    case 45: // the copied bytes, with nothing written behind them, become the text
        return READ(copyOut(n, pos), static_cast<long long>(encode(m = part(m, pos, n)).size()));
    default: { // the mark of byte order, only ever in front
        const bool marked = !m_model.empty() && m_model[0] == 0xFEFF;
        return form == 0 ? READ(m_text.addBOM(), !marked && (m.insert(0, 1, 0xFEFF), true))
                         : READ(m_text.purgeBOM(), marked && (m.erase(0, 1), true));
    }
    }
}

} // namespace

std::string runScript(Choices& choices, unsigned int steps)
{
    Script script(choices);
    for (unsigned int i = 0; i < steps && !choices.exhausted(); ++i)
        if (!script.step())
            return script.m_log.str();
    return std::string();
}

} // namespace corvo_model
