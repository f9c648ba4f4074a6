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
#include <stdexcept>

using Vesk::Corvo::StringEncodingException;
using Vesk::Corvo::Utf8String;

namespace corvo_model {
namespace {

typedef std::u32string Model;
typedef Utf8String::iterator Iterator;

const unsigned int npos = Utf8String::npos;

// Code points of one to four bytes, NUL and the mark of repair, few enough
// that searches hit.
const char32_t alphabet[] = {U'a', U'b', 0xE9, 0x20AC, 0x1F600, 0xFFFD, 0};
const unsigned int alphabetSize = sizeof alphabet / sizeof alphabet[0];
const unsigned int alphabetWithoutNul = alphabetSize - 1;

// The model's refusals travel as the outcome text they must match.
struct Refusal
{
    std::string outcome;
};

[[noreturn]] void refuse(const std::string& outcome) { throw Refusal{outcome}; }

const std::string badPosition = "std::out_of_range: invalid string position";
const std::string tooLong = "std::length_error: string too long";
const std::string badCodePoint = "utf8::invalid_code_point: Invalid code point";

std::string encodingFailure(const std::string& reason) { return "StringEncodingException: " + reason; }

// What running f did, in one comparable line.
std::string outcomeOf(const std::function<void()>& f)
{
    try {
        return corvo_test::outcomeOf(f);
    } catch (const Refusal& r) {
        return r.outcome;
    }
}

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
    out << '[';
    for (char32_t c : m)
        out << ' ' << std::hex << static_cast<unsigned long>(c);
    out << " ]";
    return out.str();
}

// Bytes for the const char* and std::string forms: code points with the odd
// 0xFF among them, which repair turns into U+FFFD and a strict walk stops at.
struct Bytes
{
    std::string bytes;
    Model repaired;
    Model beforeBad;
    bool clean;
};

// ---------------------------------------------------------------------------
// The model's side of the rules

std::size_t cut(const Model& t, unsigned int pos, unsigned int n)
{
    return std::min<std::size_t>(n, t.size() - pos);
}

unsigned int checkedPosition(const Model& t, unsigned int pos)
{
    if (pos > t.size())
        refuse(badPosition);
    return pos;
}

Model part(const Model& t, unsigned int pos, unsigned int n)
{
    checkedPosition(t, pos);
    return t.substr(pos, cut(t, pos, n));
}

// A count that goes with bytes must be met exactly.
Model counted(const Bytes& s, unsigned int n)
{
    if (n == npos || n > s.beforeBad.size())
        refuse(tooLong);
    return s.beforeBad.substr(0, n);
}

// Utf8String(n, codePoint).
Model repeated(unsigned int n, char32_t c)
{
    if (n == npos)
        refuse(encodingFailure("Utf8String::npos not allowed here"));
    if (n != 0 && !isValid(c))
        refuse(badCodePoint);
    return Model(n, c);
}

// append(n, codePoint): npos is no refusal of its own, the length runs out.
Model appended(unsigned int n, char32_t c)
{
    if (n != 0 && !isValid(c))
        refuse(badCodePoint);
    if (n == npos)
        refuse(tooLong);
    return Model(n, c);
}

void splice(Model& t, unsigned int pos, unsigned int n, const Model& with)
{
    checkedPosition(t, pos);
    t.replace(pos, cut(t, pos, n), with);
}

long long found(const Model& t, std::size_t hit)
{
    if (hit == Model::npos || t.empty())
        return npos;
    if (hit == t.size())
        refuse(encodingFailure("Index is out of range for std::string utf8_str"));
    return static_cast<long long>(hit);
}

long long modelFind(const Model& t, const Model& needle, unsigned int pos)
{
    return found(t, pos > t.size() ? Model::npos : t.find(needle, pos));
}

long long modelRfind(const Model& t, const Model& needle, unsigned int pos)
{
    return found(t, t.rfind(needle, pos));
}

long long scanForward(const Model& t, unsigned int pos, const std::function<bool(char32_t)>& hit)
{
    for (std::size_t i = pos; i < t.size(); ++i)
        if (hit(t[i]))
            return static_cast<long long>(i);
    return npos;
}

long long scanBackward(const Model& t, unsigned int pos, const std::function<bool(char32_t)>& hit)
{
    if (t.empty())
        return npos;
    const std::size_t start = pos == npos ? t.size() - 1 : pos;
    if (start >= t.size())
        refuse(badPosition);
    for (std::size_t i = start + 1; i-- > 0;)
        if (hit(t[i]))
            return static_cast<long long>(i);
    return npos;
}

long long modelCompare(const Model& a, unsigned int pos1, unsigned int count1, const Model& b,
                       unsigned int pos2, unsigned int count2)
{
    if (pos1 > a.size() || pos2 > b.size())
        refuse(encodingFailure("Index is out of range for Corvo::Utf8String"));
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

// ---------------------------------------------------------------------------
// The script

class Script
{
public:
    explicit Script(Choices& choices) : m_choices(choices) {}

    bool step()
    {
        if (m_choices.below(3) == 0)
            return read();
        return edit();
    }

    std::string history() const { return m_log.str(); }

private:
    unsigned int pick(unsigned int bound) { return m_choices.below(bound); }

    char32_t codePoint()
    {
        switch (pick(12)) {
        case 0:
            return 0xD800;
        case 1:
            return 0x110000;
        default:
            return alphabet[pick(alphabetSize)];
        }
    }

    // Positions run a little past the end, counts a little past what is
    // there, and either may be npos.
    unsigned int position(std::size_t size)
    {
        return pick(10) == 0 ? npos : pick(static_cast<unsigned int>(size) + 3);
    }
    unsigned int count() { return pick(8) == 0 ? npos : pick(5); }

    Model codePoints()
    {
        Model m;
        for (unsigned int n = pick(6); n > 0; --n)
            m += alphabet[pick(alphabetSize)];
        return m;
    }

    Bytes bytes(bool withNul)
    {
        Bytes b{std::string(), Model(), Model(), true};
        for (unsigned int n = pick(6); n > 0; --n) {
            if (pick(8) == 0) {
                b.bytes += '\xFF';
                b.repaired += 0xFFFD;
                b.clean = false;
                continue;
            }
            const char32_t c = alphabet[pick(withNul ? alphabetSize : alphabetWithoutNul)];
            b.bytes += encode(Model(1, c));
            b.repaired += c;
            if (b.clean)
                b.beforeBad += c;
        }
        return b;
    }

    Iterator iteratorAt(unsigned int pos)
    {
        Iterator it = m_text.begin();
        std::advance(it, pos);
        return it;
    }

    unsigned int positionOf(const Iterator& it)
    {
        return static_cast<unsigned int>(utf8::distance(m_text.begin().base(), it.base()));
    }

    // Runs the operation on the text and on a copy of the model; outcome,
    // result and text must agree. A refused operation leaves both alone.
    bool check(const std::string& call, const std::function<long long()>& real,
               const std::function<long long(Model&)>& expected)
    {
        m_log << call << '\n';
        Model next = m_model;
        long long want = 0;
        long long got = 0;
        const std::string wantOutcome = outcomeOf([&] { want = expected(next); });
        const std::string gotOutcome = outcomeOf([&] { got = real(); });
        if (wantOutcome == "ok")
            m_model = next;
        if (gotOutcome != wantOutcome) {
            m_log << "  outcome " << gotOutcome << ", expected " << wantOutcome << '\n';
            return false;
        }
        if (got != want) {
            m_log << "  result " << got << ", expected " << want << '\n';
            return false;
        }
        const Model now(m_text.begin(), m_text.end());
        if (now != m_model) {
            m_log << "  text " << show(now) << ", expected " << show(m_model) << '\n';
            return false;
        }
        return true;
    }

    template <typename... Args>
    std::string describe(const char* name, const Args&... args)
    {
        std::ostringstream out;
        out << show(m_model) << '.' << name << '(';
        const char* separator = "";
        ((out << separator << args, separator = ", "), ...);
        out << ')';
        return out.str();
    }

    bool edit();
    bool read();

    Choices& m_choices;
    Utf8String m_text;
    Model m_model;
    std::ostringstream m_log;
};

bool Script::edit()
{
    // The source text is now and then the target itself, as it was.
    const bool self = m_model.size() < 64 && pick(4) == 0; // no doubling without end
    const Model sourceModel = self ? m_model : codePoints();
    const Utf8String other(encode(sourceModel));
    const Utf8String& source = self ? m_text : other;
    const std::string sourceName = self ? "self" : show(sourceModel);
    const std::size_t size = m_model.size();

    const unsigned int pos = position(size);
    const unsigned int n = count();
    const unsigned int pos2 = position(sourceModel.size());
    const unsigned int n2 = count();
    const char32_t c = codePoint();
    const Bytes b = bytes(false);
    const std::string s = b.bytes;
    const unsigned long cp = c;
    // Iterator positions stay inside the text.
    const unsigned int i1 = pick(static_cast<unsigned int>(size) + 1);
    const unsigned int i2 = i1 + pick(static_cast<unsigned int>(size - i1) + 1);

    switch (pick(34)) {
    case 0:
        return check(describe("append", sourceName), [&] { return m_text.append(source), 0; },
                     [&](Model& m) { return m += sourceModel, 0; });
    case 1:
        return check(describe("append", sourceName, pos2, n2),
                     [&] { return m_text.append(source, pos2, n2), 0; },
                     [&](Model& m) { return m += part(sourceModel, pos2, n2), 0; });
    case 2: {
        const Bytes withNul = bytes(true);
        return check(describe("append(std::string)", show(withNul.repaired)),
                     [&] { return m_text.append(withNul.bytes), 0; },
                     [&](Model& m) { return m += withNul.repaired, 0; });
    }
    case 3:
        return check(describe("operator+=(const char*)", show(b.repaired)), [&] { return m_text += s.c_str(), 0; },
                     [&](Model& m) { return m += b.repaired, 0; });
    case 4:
        return check(describe("append", show(b.repaired), n),
                     [&] { return m_text.append(s.c_str(), n), 0; },
                     [&](Model& m) { return m += counted(b, n), 0; });
    case 5:
        return check(describe("append", n, cp), [&] { return m_text.append(n, cp), 0; },
                     [&](Model& m) { return m += appended(n, c), 0; });
    case 6:
        return check(describe("push_back", cp), [&] { return m_text.push_back(cp), 0; },
                     [&](Model& m) { return m += appended(1, c), 0; });
    case 7:
        return check(describe("append(iterators of self)", i1, i2),
                     [&] { return m_text.append(iteratorAt(i1), iteratorAt(i2)), 0; },
                     [&](Model& m) { return m += m.substr(i1, i2 - i1), 0; });
    case 8:
        return check(describe("assign", sourceName), [&] { return m_text.assign(source), 0; },
                     [&](Model& m) { return m = sourceModel, 0; });
    case 9:
        return check(describe("assign", sourceName, pos2, n2),
                     [&] { return m_text.assign(source, pos2, n2), 0; },
                     [&](Model& m) { return m = part(sourceModel, pos2, n2), 0; });
    case 10:
        return check(describe("assign", show(b.repaired)), [&] { return m_text.assign(s.c_str()), 0; },
                     [&](Model& m) { return m = b.repaired, 0; });
    case 11:
        return check(describe("assign", show(b.repaired), n),
                     [&] { return m_text.assign(s.c_str(), n), 0; },
                     [&](Model& m) { return m = counted(b, n), 0; });
    case 12:
        return check(describe("assign", n, cp), [&] { return m_text.assign(n, cp), 0; },
                     [&](Model& m) { return m = repeated(n, c), 0; });
    case 13:
        return check(describe("assign(iterators of self)", i1, i2),
                     [&] { return m_text.assign(iteratorAt(i1), iteratorAt(i2)), 0; },
                     [&](Model& m) { return m = m.substr(i1, i2 - i1), 0; });
    case 14:
        return check(describe("insert", pos, sourceName), [&] { return m_text.insert(pos, source), 0; },
                     [&](Model& m) { return splice(m, pos, 0, sourceModel), 0; });
    case 15:
        return check(describe("insert", pos, sourceName, pos2, n2),
                     [&] { return m_text.insert(pos, source, pos2, n2), 0; },
                     [&](Model& m) {
                         checkedPosition(m, pos);
                         return splice(m, pos, 0, part(sourceModel, pos2, n2)), 0;
                     });
    case 16:
        return check(describe("insert", pos, show(b.repaired), n),
                     [&] { return m_text.insert(pos, s.c_str(), n), 0; },
                     [&](Model& m) {
                         checkedPosition(m, pos);
                         return splice(m, pos, 0, counted(b, n)), 0;
                     });
    case 17: {
        // Unexamined bytes: only valid ones here, so that the text stays
        // readable for the steps that follow.
        const std::string clean = encode(b.beforeBad);
        return check(describe("insert(unexamined)", pos, show(b.beforeBad)),
                     [&] { return m_text.insert(pos, clean.c_str()), 0; },
                     [&](Model& m) { return splice(m, pos, 0, b.beforeBad), 0; });
    }
    case 18:
        return check(describe("insert", pos, n, cp), [&] { return m_text.insert(pos, n, cp), 0; },
                     [&](Model& m) {
                         const Model with = repeated(n, c);
                         return splice(m, pos, 0, with), 0;
                     });
    case 19:
        return check(describe("insert(iterator)", i1, cp),
                     [&] { return positionOf(m_text.insert(iteratorAt(i1), cp)); },
                     [&](Model& m) {
                         if (!isValid(c))
                             refuse(encodingFailure("Invalid code point"));
                         return m.insert(i1, 1, c), i1;
                     });
    case 20:
        return check(describe("insert(iterator)", i1, n, cp),
                     [&] { return m_text.insert(iteratorAt(i1), n, cp), 0; },
                     [&](Model& m) { return m.insert(i1, repeated(n, c)), 0; });
    case 21:
        return check(describe("insert(iterator, iterators of self)", i1, i2),
                     [&] { return m_text.insert(m_text.begin(), iteratorAt(i1), iteratorAt(i2)), 0; },
                     [&](Model& m) { return m.insert(0, m.substr(i1, i2 - i1)), 0; });
    case 22:
        return check(describe("erase", pos, n), [&] { return m_text.erase(pos, n), 0; },
                     [&](Model& m) { return splice(m, pos, n, Model()), 0; });
    case 23:
        return check(describe("erase(iterator)", i1), [&] { return positionOf(m_text.erase(iteratorAt(i1))); },
                     [&](Model& m) {
                         if (i1 == m.size())
                             refuse("utf8::not_enough_room: Not enough space");
                         return m.erase(i1, 1), i1;
                     });
    case 24:
        return check(describe("erase(iterators)", i1, i2),
                     [&] { return positionOf(m_text.erase(iteratorAt(i1), iteratorAt(i2))); },
                     [&](Model& m) { return m.erase(i1, i2 - i1), i1; });
    case 25:
        return check(describe("replace", pos, n, sourceName), [&] { return m_text.replace(pos, n, source), 0; },
                     [&](Model& m) { return splice(m, pos, n, sourceModel), 0; });
    case 26:
        return check(describe("replace", pos, n, sourceName, pos2, n2),
                     [&] { return m_text.replace(pos, n, source, pos2, n2), 0; },
                     [&](Model& m) {
                         checkedPosition(m, pos);
                         return splice(m, pos, n, part(sourceModel, pos2, n2)), 0;
                     });
    case 27:
        return check(describe("replace", pos, n, show(b.repaired), n2),
                     [&] { return m_text.replace(pos, n, s.c_str(), n2), 0; },
                     [&](Model& m) {
                         checkedPosition(m, pos);
                         return splice(m, pos, n, counted(b, n2)), 0;
                     });
    case 28:
        return check(describe("replace(const char*)", pos, n, show(b.repaired)),
                     [&] { return m_text.replace(pos, n, s.c_str()), 0; },
                     [&](Model& m) { return splice(m, pos, n, b.repaired), 0; });
    case 29:
        return check(describe("replace", pos, n, n2, cp), [&] { return m_text.replace(pos, n, n2, cp), 0; },
                     [&](Model& m) {
                         const Model with = repeated(n2, c);
                         return splice(m, pos, n, with), 0;
                     });
    case 30:
        return check(describe("replace(iterators)", i1, i2, sourceName),
                     [&] { return m_text.replace(iteratorAt(i1), iteratorAt(i2), source), 0; },
                     [&](Model& m) { return m.replace(i1, i2 - i1, sourceModel), 0; });
    case 31:
        return check(describe("replace(iterators)", i1, i2, show(b.repaired), n),
                     [&] { return m_text.replace(iteratorAt(i1), iteratorAt(i2), s.c_str(), n), 0; },
                     [&](Model& m) { return m.replace(i1, i2 - i1, counted(b, n)), 0; });
    case 32:
        return check(describe("replace(iterators)", i1, i2, n2, cp),
                     [&] { return m_text.replace(iteratorAt(i1), iteratorAt(i2), n2, cp), 0; },
                     [&](Model& m) { return m.replace(i1, i2 - i1, repeated(n2, c)), 0; });
    default:
        return check(describe("operator+", cp, sourceName, show(b.repaired)),
                     [&] { return m_text = cp + source + s.c_str(), 0; },
                     [&](Model& m) { return m = appended(1, c) + sourceModel + b.repaired, 0; });
    }
}

bool Script::read()
{
    const Model needleModel = pick(3) == 0 ? m_model.substr(pick(static_cast<unsigned int>(m_model.size()) + 1), pick(3))
                                           : codePoints();
    const Utf8String needle(encode(needleModel));
    const Bytes b = bytes(false);
    const std::string s = b.bytes;
    const unsigned int pos = position(m_model.size());
    const unsigned int n = count();
    const unsigned int pos2 = position(needleModel.size());
    const unsigned int n2 = count();
    const char32_t c = codePoint();
    const unsigned long cp = c;
    const std::string name = show(needleModel);
    const auto inSet = [](const Model& set) { return [&set](char32_t x) { return set.find(x) != Model::npos; }; };
    const auto notInSet = [](const Model& set) { return [&set](char32_t x) { return set.find(x) == Model::npos; }; };
    const auto isNot = [c](char32_t x) { return x != c; };
    // Unrepaired bytes as a needle: with a bad byte among them they never
    // match in valid text, as U+00FF, which no text here holds, never does.
    const auto rawNeedle = [&b] { return b.clean ? b.repaired : Model(1, 0xFF); };

    switch (pick(22)) {
    case 0:
        return check(describe("compare", pos, n, name, pos2, n2),
                     [&] { return m_text.compare(pos, n, needle, pos2, n2); },
                     [&](Model& m) { return modelCompare(m, pos, n, needleModel, pos2, n2); });
    case 1:
        return check(describe("compare", pos, n, show(b.repaired), n2),
                     [&] { return m_text.compare(pos, n, s.c_str(), n2); },
                     [&](Model& m) { return modelCompare(m, pos, n, b.repaired, 0, n2); });
    case 2:
        return check(describe("relations", name),
                     [&] {
                         return (m_text == needle) + 2 * (m_text < needle) + 4 * (m_text <= needle) +
                                8 * (s.c_str() > m_text) + 16 * (s.c_str() >= m_text) + 32 * (s.c_str() != m_text);
                     },
                     [&](Model& m) {
                         return (m == needleModel) + 2 * (m < needleModel) + 4 * (m <= needleModel) +
                                8 * (b.repaired > m) + 16 * (b.repaired >= m) + 32 * (b.repaired != m);
                     });
    case 3:
        return check(describe("substr", pos, n), [&] { return m_text = m_text.substr(pos, n), 0; },
                     [&](Model& m) { return m = part(m, pos, n), 0; });
    case 4:
        return check(describe("find", name, pos), [&] { return m_text.find(needle, pos); },
                     [&](Model& m) { return modelFind(m, needleModel, pos); });
    case 5:
        return check(describe("rfind", name, pos), [&] { return m_text.rfind(needle, pos); },
                     [&](Model& m) { return modelRfind(m, needleModel, pos); });
    case 6:
        return check(describe("find", show(b.repaired), pos, n), [&] { return m_text.find(s.c_str(), pos, n); },
                     [&](Model& m) {
                         if (n == npos || n > b.beforeBad.size())
                             return static_cast<long long>(npos);
                         return modelFind(m, b.beforeBad.substr(0, n), pos);
                     });
    case 7:
        return check(describe("rfind", show(b.repaired), pos, n), [&] { return m_text.rfind(s.c_str(), pos, n); },
                     [&](Model& m) {
                         if (n == npos || n > b.beforeBad.size())
                             return static_cast<long long>(npos);
                         return modelRfind(m, b.beforeBad.substr(0, n), pos);
                     });
    case 8:
        return check(describe("find(unrepaired)", show(b.repaired), pos), [&] { return m_text.find(s.c_str(), pos); },
                     [&](Model& m) { return modelFind(m, rawNeedle(), pos); });
    case 9:
        return check(describe("rfind(unrepaired)", show(b.repaired), pos),
                     [&] { return m_text.rfind(s.c_str(), pos); },
                     [&](Model& m) { return modelRfind(m, rawNeedle(), pos); });
    case 10:
    case 11: {
        const bool backward = pick(2) == 0;
        return check(describe(backward ? "rfind/find_last_of" : "find/find_first_of", cp, pos),
                     [&] {
                         const unsigned int a = backward ? m_text.rfind(cp, pos) : m_text.find(cp, pos);
                         const unsigned int b2 = backward ? m_text.find_last_of(cp, pos) : m_text.find_first_of(cp, pos);
                         return a == b2 ? a : -1ll;
                     },
                     [&](Model& m) {
                         if (!isValid(c))
                             refuse(encodingFailure("Invalid code point"));
                         return backward ? modelRfind(m, Model(1, c), pos) : modelFind(m, Model(1, c), pos);
                     });
    }
    case 12:
        return check(describe("find_first_of", name, pos), [&] { return m_text.find_first_of(needle, pos); },
                     [&](Model& m) { return scanForward(m, pos, inSet(needleModel)); });
    case 13:
        return check(describe("find_last_of", name, pos), [&] { return m_text.find_last_of(needle, pos); },
                     [&](Model& m) { return scanBackward(m, pos, inSet(needleModel)); });
    case 14:
        return check(describe("find_first_not_of", name, pos), [&] { return m_text.find_first_not_of(needle, pos); },
                     [&](Model& m) { return scanForward(m, pos, notInSet(needleModel)); });
    case 15:
        return check(describe("find_last_not_of", name, pos), [&] { return m_text.find_last_not_of(needle, pos); },
                     [&](Model& m) { return scanBackward(m, pos, notInSet(needleModel)); });
    case 16:
        return check(describe("find_first_of", show(b.repaired), pos, n),
                     [&] { return m_text.find_first_of(s.c_str(), pos, n); },
                     [&](Model& m) {
                         const Model set = counted(b, n);
                         return scanForward(m, pos, inSet(set));
                     });
    case 17:
        return check(describe("find_last_not_of", show(b.repaired), pos, n),
                     [&] { return m_text.find_last_not_of(s.c_str(), pos, n); },
                     [&](Model& m) {
                         const Model set = counted(b, n);
                         return scanBackward(m, pos, notInSet(set));
                     });
    case 18:
        return check(describe("find_last_of(repaired)", show(b.repaired), pos),
                     [&] { return m_text.find_last_of(s.c_str(), pos); },
                     [&](Model& m) { return scanBackward(m, pos, inSet(b.repaired)); });
    case 19:
        return check(describe("find_first_not_of(repaired)", show(b.repaired), pos),
                     [&] { return m_text.find_first_not_of(s.c_str(), pos); },
                     [&](Model& m) { return scanForward(m, pos, notInSet(b.repaired)); });
    case 20:
        return check(describe("find_first_not_of", cp, pos), [&] { return m_text.find_first_not_of(cp, pos); },
                     [&](Model& m) { return scanForward(m, pos, isNot); });
    default:
        return check(describe("find_last_not_of", cp, pos), [&] { return m_text.find_last_not_of(cp, pos); },
                     [&](Model& m) { return scanBackward(m, pos, isNot); });
    }
}

} // namespace

std::string runScript(Choices& choices, unsigned int steps)
{
    Script script(choices);
    for (unsigned int i = 0; i < steps && !choices.exhausted(); ++i)
        if (!script.step())
            return script.history();
    return std::string();
}

} // namespace corvo_model
