/*
 * type1.cpp - the reader of Type 1 programs and the interpreter of their charstrings
 *
 * The text is read token by token for the few names that matter; charstrings and subroutines are
 * the bytes that follow a count and one of the words that read bytes.
 */
#include "prepare/fonts/type1.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr uint16_t EEXEC_KEY = 55665, CHARSTRING_KEY = 4330;
constexpr size_t EEXEC_RANDOM = 4;
constexpr size_t MAX_ARRAY = 64;

std::string decrypted(std::string_view bytes, uint16_t key, size_t skip)
{
    std::string plain;
    plain.reserve(bytes.size());
    for (char c : bytes) {
        auto cipher = (uint8_t)c;
        plain.push_back((char)(cipher ^ (key >> 8)));
        key = (uint16_t)((cipher + key) * 52845u + 22719u);
    }
    return plain.substr(std::min(skip, plain.size()));
}

/* Takes out the headers of six bytes that font files have on some systems. */
std::string withoutSegments(const std::string &data)
{
    constexpr size_t HEADER = 6;
    if (data.empty() || (uint8_t)data[0] != 0x80)
        return data;
    std::string joined;
    for (size_t at = 0; at + HEADER <= data.size() && (uint8_t)data[at] == 0x80;) {
        if (data[at + 1] != 1 && data[at + 1] != 2)
            break;
        size_t size = 0;
        for (size_t i = 4; i > 0; i--)
            size = size << 8 | (uint8_t)data[at + 1 + i];
        size = std::min(size, data.size() - at - HEADER);
        joined.append(data, at + HEADER, size);
        at += HEADER + size;
    }
    return joined;
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

/* The private part in clear; without "eexec", the whole data. */
std::string privatePart(const std::string &data, size_t *clearSize)
{
    size_t at = data.find("eexec");
    while (at != std::string::npos && at + 5 < data.size() && !isWhite(data[at + 5]))
        at = data.find("eexec", at + 5);
    *clearSize = std::min(at, data.size());
    if (at == std::string::npos)
        return data;
    at += 5;
    while (at < data.size() && isWhite(data[at]))
        at++;
    std::string_view body = std::string_view(data).substr(std::min(at, data.size()));
    bool isHex = body.size() >= 4 && std::all_of(body.begin(), body.begin() + 4, isHexDigit);
    if (!isHex)
        return decrypted(body, EEXEC_KEY, EEXEC_RANDOM);
    Token digits{TokenKind::HEX_STRING, body};
    return decrypted(stringValue(digits), EEXEC_KEY, EEXEC_RANDOM);
}

/* The numbers between brackets of either kind, or one number. */
std::vector<double> readNumbers(ContentReader *reader)
{
    std::vector<double> numbers;
    Token token = readToken(reader);
    if (token.kind == TokenKind::NUMBER)
        return {numberValue(token)};
    if (token.source == "true")
        return {1};
    if (token.kind != TokenKind::ARRAY_BEGIN && token.source != "{")
        return {};
    for (token = readToken(reader); token.kind == TokenKind::NUMBER && numbers.size() < MAX_ARRAY;
         token = readToken(reader))
        numbers.push_back(numberValue(token));
    return numbers;
}

/* "dup 65 /A put" up to "def"; or the name of the standard one. */
void readEncodingArray(ContentReader *reader, Encoding *encoding)
{
    Token before{TokenKind::END, {}};
    for (int i = 0; i < 4096; i++) {
        Token token = readToken(reader);
        if (token.kind == TokenKind::END || token.source == "def" || token.source == "readonly")
            return;
        if (token.source == "StandardEncoding") {
            *encoding = *namedEncoding("/StandardEncoding");
            return;
        }
        if (token.kind == TokenKind::NAME && before.kind == TokenKind::NUMBER) {
            double code = numberValue(before);
            if (code >= 0 && code < 256 && token.source != "/.notdef")
                (*encoding)[(size_t)code] = std::string(token.source.substr(1));
        }
        if (token.kind == TokenKind::WORD && token.source.substr(0, 2) == "8#") {
            /* octal codes; the digits are read below as a number */
            double code = 0;
            for (char c : token.source.substr(2))
                code = code * 8 + (c - '0');
            Token name = readToken(reader);
            if (name.kind == TokenKind::NAME && code >= 0 && code < 256)
                (*encoding)[(size_t)code] = std::string(name.source.substr(1));
        }
        before = token;
    }
}

void readClearPart(std::string_view text, Type1Program *program)
{
    ContentReader reader{text};
    for (Token token = readToken(&reader); token.kind != TokenKind::END;
         token = readToken(&reader)) {
        if (token.source == "/FontMatrix") {
            std::vector<double> numbers = readNumbers(&reader);
            if (numbers.size() == 6 && numbers[0] * numbers[3] - numbers[1] * numbers[2] != 0)
                std::copy(numbers.begin(), numbers.end(), program->matrix);
        } else if (token.source == "/Encoding") {
            readEncodingArray(&reader, &program->encoding);
        }
    }
}

/* Hint values and the operators that they have in compact fonts. */
struct PrivateName {
    const char *name;
    int number;
    bool isArray, isPairs;
};

constexpr PrivateName privateNames[] = {
    {"/BlueValues", 6, true, true},         {"/OtherBlues", 7, true, true},
    {"/FamilyBlues", 8, true, true},        {"/FamilyOtherBlues", 9, true, true},
    {"/StdHW", 10, false, false},           {"/StdVW", 11, false, false},
    {"/BlueScale", 1209, false, false},     {"/BlueShift", 1210, false, false},
    {"/BlueFuzz", 1211, false, false},      {"/StemSnapH", 1212, true, false},
    {"/StemSnapV", 1213, true, false},      {"/ForceBold", 1214, false, false},
    {"/LanguageGroup", 1217, false, false},
};

void keepPrivate(const PrivateName &row, std::vector<double> numbers, Type1Program *program)
{
    constexpr size_t MOST = 14;
    auto isOdd = [](double v) { return !(std::fabs(v) <= 16000); };
    if (numbers.empty() || numbers.size() > MOST || (row.isPairs && numbers.size() % 2) ||
        std::any_of(numbers.begin(), numbers.end(), isOdd))
        return;
    if (!row.isArray)
        numbers.erase(numbers.begin() + 1, numbers.end());
    for (size_t i = numbers.size(); row.isArray && i-- > 1;) {
        numbers[i] -= numbers[i - 1];
        if (numbers[i] < 0)
            return; /* such arrays rise */
    }
    for (const auto &[number, values] : program->privateValues)
        if (number == row.number)
            return;
    program->privateValues.emplace_back(row.number, numbers);
}

/* What has been seen of a private part. */
struct PrivateReader {
    ContentReader reader;
    Type1Program *program;
    std::set<std::string, std::less<>> byteWords = {"RD", "-|"};
    Token before[2] = {{TokenKind::END, {}}, {TokenKind::END, {}}}; /* the last one first */
    double lenIV = 4;
    bool hasUnread = false; /* multiple masters */
};

/* The bytes behind a word that reads them; false when they are not all there. */
bool takeBytes(PrivateReader *r, std::string *bytes)
{
    double count = numberValue(r->before[0]);
    std::string_view all = r->reader.content;
    if (count < 0 || r->reader.at >= all.size() || count > (double)(all.size() - r->reader.at - 1))
        return false;
    std::string_view taken = all.substr(r->reader.at + 1, (size_t)count);
    r->reader.at += 1 + (size_t)count;
    *bytes = r->lenIV < 0 ? std::string(taken)
                          : decrypted(taken, CHARSTRING_KEY, (size_t)std::min(r->lenIV, 64.0));
    return true;
}

void readPrivateName(PrivateReader *r, const Token &token)
{
    if (token.source == "/lenIV") {
        std::vector<double> value = readNumbers(&r->reader);
        r->lenIV = value.empty() ? 4 : value[0];
    }
    if (token.source == "/WeightVector" || token.source == "/BlendDesignPositions")
        r->hasUnread = true;
    for (const PrivateName &row : privateNames)
        if (token.source == row.name)
            keepPrivate(row, readNumbers(&r->reader), r->program);
    /* "/X {string currentfile exch readstring pop}": X reads bytes. */
    size_t at = r->reader.at;
    if (readToken(&r->reader).source == "{" && readToken(&r->reader).source == "string")
        r->byteWords.insert(std::string(token.source.substr(1)));
    r->reader.at = at;
}

/* "dup 5 33 RD bytes" and "/A 120 RD bytes". */
void readBytes(PrivateReader *r)
{
    std::string bytes;
    Token owner = r->before[1];
    if (!takeBytes(r, &bytes))
        return;
    if (owner.kind == TokenKind::NAME)
        r->program->charstrings.emplace(owner.source.substr(1), std::move(bytes));
    else if (owner.kind == TokenKind::NUMBER)
        r->program->subrs.emplace((int)numberValue(owner), std::move(bytes));
}

void readPrivatePart(PrivateReader *r)
{
    for (Token token = readToken(&r->reader); token.kind != TokenKind::END;
         token = readToken(&r->reader)) {
        if (token.kind == TokenKind::NAME)
            readPrivateName(r, token);
        if (token.kind == TokenKind::WORD && r->before[0].kind == TokenKind::NUMBER &&
            r->byteWords.count(token.source))
            readBytes(r);
        r->before[1] = r->before[0];
        r->before[0] = token;
    }
}

/* ---- charstrings ---- */

enum CharOperator {
    HSTEM = 1,
    VSTEM = 3,
    VMOVETO = 4,
    RLINETO = 5,
    HLINETO = 6,
    VLINETO = 7,
    RRCURVETO = 8,
    CLOSEPATH = 9,
    CALLSUBR = 10,
    RETURN = 11,
    ESCAPE = 12,
    HSBW = 13,
    ENDCHAR = 14,
    RMOVETO = 21,
    HMOVETO = 22,
    VHCURVETO = 30,
    HVCURVETO = 31,
    DOTSECTION = 1200,
    VSTEM3 = 1201,
    HSTEM3 = 1202,
    SEAC = 1206,
    SBW = 1207,
    DIV = 1212,
    CALLOTHERSUBR = 1216,
    POP = 1217,
    SETCURRENTPOINT = 1233,
};

constexpr int MAX_CALLS = 10;
constexpr size_t STACK_LIMIT = 64, MAX_STEPS = 200000, MAX_SEGMENTS = 20000;

struct Interpreter {
    const Type1Program *program;
    Outline *outline;
    std::vector<double> stack, postScript;
    double x = 0, y = 0;
    double originX = 0, originY = 0; /* of an accent */
    double bearing = 0, advance = 0;
    bool isOpen = false; /* a contour has begun */
    bool isFlex = false, isDone = false, isAccented = false;
    std::vector<std::pair<double, double>> flex;
    size_t steps = 0;
};

int whole(double value)
{
    return (int)std::lround(
        std::clamp(value, -(double)LARGEST_COORDINATE, (double)LARGEST_COORDINATE));
}

void addSegment(Interpreter *in, Segment::Kind kind, std::initializer_list<double> points)
{
    Segment segment{kind, {}, {}};
    const double *at = points.begin();
    for (size_t i = 0; i < points.size() / 2; i++) {
        segment.x[i] = whole(at[2 * i] + in->originX);
        segment.y[i] = whole(at[2 * i + 1] + in->originY);
    }
    in->outline->path.push_back(segment);
}

void openContour(Interpreter *in)
{
    if (!in->isOpen)
        addSegment(in, Segment::MOVE, {in->x, in->y});
    in->isOpen = true;
}

void moveBy(Interpreter *in, double dx, double dy)
{
    in->x += dx;
    in->y += dy;
    if (!in->isFlex)
        in->isOpen = false;
}

void lineBy(Interpreter *in, double dx, double dy)
{
    openContour(in);
    in->x += dx;
    in->y += dy;
    addSegment(in, Segment::LINE, {in->x, in->y});
}

void curveBy(Interpreter *in, double a, double b, double c, double d, double e, double f)
{
    openContour(in);
    double x1 = in->x + a, y1 = in->y + b, x2 = x1 + c, y2 = y1 + d;
    in->x = x2 + e;
    in->y = y2 + f;
    addSegment(in, Segment::CURVE, {x1, y1, x2, y2, in->x, in->y});
}

void addStem(Interpreter *in, bool isVertical, double edge, double width)
{
    edge += isVertical ? in->bearing + in->originX : in->originY;
    if (!(std::fabs(edge) < LARGEST_COORDINATE && std::fabs(width) < LARGEST_COORDINATE))
        return;
    Stem stem{isVertical, whole(edge), whole(width)};
    std::vector<Stem> &stems = in->outline->stems;
    auto found = std::find(stems.begin(), stems.end(), stem);
    size_t place = (size_t)(found - stems.begin());
    if (found == stems.end())
        stems.push_back(stem);
    if (in->outline->changes.empty())
        in->outline->changes.push_back({0, {}});
    in->outline->changes.back().stems.push_back(place);
}

void changeHints(Interpreter *in)
{
    if (!in->outline->changes.empty())
        in->outline->changes.push_back({in->outline->path.size(), {}});
}

/* Arguments from the stack's bottom; false when there are fewer. */
bool take(Interpreter *in, size_t count, double *values)
{
    if (in->stack.size() < count)
        return false;
    std::copy(in->stack.end() - (long)count, in->stack.end(), values);
    in->stack.clear();
    return true;
}

bool endFlex(Interpreter *in)
{
    in->isFlex = false;
    if (in->flex.size() != 7)
        return false;
    openContour(in);
    const auto &p = in->flex;
    addSegment(in, Segment::CURVE,
               {p[1].first, p[1].second, p[2].first, p[2].second, p[3].first, p[3].second});
    addSegment(in, Segment::CURVE,
               {p[4].first, p[4].second, p[5].first, p[5].second, p[6].first, p[6].second});
    in->postScript = {in->y, in->x};
    return true;
}

/* arguments, their count, a number: what the program's own procedures do is known by the number. */
bool callOther(Interpreter *in)
{
    if (in->stack.size() < 2)
        return false;
    int number = (int)in->stack.back();
    auto count = (size_t)std::clamp(in->stack[in->stack.size() - 2], 0.0, 64.0);
    in->stack.resize(in->stack.size() - 2);
    if (in->stack.size() < count)
        return false;
    std::vector<double> arguments(in->stack.end() - (long)count, in->stack.end());
    in->stack.resize(in->stack.size() - count);
    switch (number) {
    case 0:
        return endFlex(in);
    case 1:
        openContour(in);
        in->isFlex = true;
        in->flex.clear();
        return true;
    case 2:
        if (in->isFlex && in->flex.size() < 7)
            in->flex.emplace_back(in->x, in->y);
        return true;
    case 3:
        changeHints(in);
        break;
    case 12:
    case 13: /* counter hints */
        return true;
    case 14:
    case 15:
    case 16:
    case 17:
    case 18: /* multiple masters */
        return false;
    default:
        break;
    }
    in->postScript.assign(arguments.rbegin(), arguments.rend());
    return true;
}

bool runCharstring(Interpreter *in, const std::string &code, int depth);

bool runGlyph(Interpreter *in, const std::string &name)
{
    auto found = in->program->charstrings.find(name);
    return found != in->program->charstrings.end() && runCharstring(in, found->second, 0);
}

/* A base letter and an accent, by their codes in the standard encoding. */
bool runAccented(Interpreter *in)
{
    double v[5];
    if (!take(in, 5, v) || in->isAccented)
        return false;
    const Encoding &standard = *namedEncoding("/StandardEncoding");
    auto code = [&](double value) { return standard[(size_t)std::clamp(value, 0.0, 255.0)]; };
    in->isAccented = true;
    double advance = in->advance, bearing = in->bearing;
    if (!runGlyph(in, code(v[3])))
        return false;
    changeHints(in);
    in->isDone = in->isOpen = false;
    in->stack.clear();
    in->x = in->y = 0;
    in->originX = bearing - v[0] + v[1];
    in->originY = v[2];
    bool good = runGlyph(in, code(v[4]));
    in->isDone = true;
    in->advance = advance;
    return good;
}

bool divide(Interpreter *in)
{
    if (in->stack.size() < 2 || in->stack.back() == 0)
        return false;
    double divisor = in->stack.back();
    in->stack.pop_back();
    in->stack.back() /= divisor;
    return true;
}

bool runStems(Interpreter *in, bool isVertical, size_t count)
{
    double v[6];
    if (!take(in, 2 * count, v))
        return false;
    for (size_t i = 0; i < count; i++)
        addStem(in, isVertical, v[2 * i], v[2 * i + 1]);
    return true;
}

bool setWidth(Interpreter *in, size_t arguments)
{
    double v[4] = {0, 0, 0, 0};
    if (!take(in, arguments, v))
        return false;
    in->bearing = in->x = v[0];
    in->y = arguments == 4 ? v[1] : 0;
    in->advance = arguments == 4 ? v[2] : v[1];
    return true;
}

bool runPath(Interpreter *in, int number)
{
    double v[6];
    switch (number) {
    case VMOVETO:
        return take(in, 1, v) && (moveBy(in, 0, v[0]), true);
    case HMOVETO:
        return take(in, 1, v) && (moveBy(in, v[0], 0), true);
    case RMOVETO:
        return take(in, 2, v) && (moveBy(in, v[0], v[1]), true);
    case RLINETO:
        return take(in, 2, v) && (lineBy(in, v[0], v[1]), true);
    case HLINETO:
        return take(in, 1, v) && (lineBy(in, v[0], 0), true);
    case VLINETO:
        return take(in, 1, v) && (lineBy(in, 0, v[0]), true);
    case RRCURVETO:
        return take(in, 6, v) && (curveBy(in, v[0], v[1], v[2], v[3], v[4], v[5]), true);
    case VHCURVETO:
        return take(in, 4, v) && (curveBy(in, 0, v[0], v[1], v[2], v[3], 0), true);
    case HVCURVETO:
        return take(in, 4, v) && (curveBy(in, v[0], 0, v[1], v[2], 0, v[3]), true);
    default:
        return false;
    }
}

bool runOperator(Interpreter *in, int number, int depth)
{
    switch (number) {
    case HSTEM:
        return runStems(in, false, 1);
    case VSTEM:
        return runStems(in, true, 1);
    case HSTEM3:
        return runStems(in, false, 3);
    case VSTEM3:
        return runStems(in, true, 3);
    case HSBW:
        return setWidth(in, 2);
    case SBW:
        return setWidth(in, 4);
    case CLOSEPATH:
        in->isOpen = false;
        in->stack.clear();
        return true;
    case DOTSECTION:
    case SETCURRENTPOINT:
        in->stack.clear();
        return true;
    case ENDCHAR:
        in->isDone = true;
        return true;
    case SEAC:
        return runAccented(in);
    case DIV:
        return divide(in);
    case CALLOTHERSUBR:
        return callOther(in);
    case POP:
        in->stack.push_back(in->postScript.empty() ? 0 : in->postScript.back());
        if (!in->postScript.empty())
            in->postScript.pop_back();
        return true;
    case CALLSUBR: {
        if (in->stack.empty() || depth >= MAX_CALLS)
            return false;
        auto subr = in->program->subrs.find((int)std::clamp(in->stack.back(), -1.0, 1e6));
        in->stack.pop_back();
        return subr != in->program->subrs.end() && runCharstring(in, subr->second, depth + 1);
    }
    default:
        return runPath(in, number);
    }
}

/* The number that begins at `at`; false when it is cut. */
bool readCharNumber(const std::string &code, size_t *at, double *value)
{
    auto byte = [&](size_t i) { return (int)(uint8_t)code[i]; };
    int first = byte(*at);
    size_t size = first < 247 ? 1 : first < 255 ? 2 : 5;
    if (code.size() - *at < size)
        return false;
    if (size == 1)
        *value = first - 139;
    else if (size == 2)
        *value = first < 251 ? (first - 247) * 256 + byte(*at + 1) + 108
                             : -(first - 251) * 256 - byte(*at + 1) - 108;
    else
        *value = (int32_t)((uint32_t)byte(*at + 1) << 24 | (uint32_t)byte(*at + 2) << 16 |
                           (uint32_t)byte(*at + 3) << 8 | (uint32_t)byte(*at + 4));
    *at += size;
    return true;
}

bool runCharstring(Interpreter *in, const std::string &code, int depth)
{
    for (size_t at = 0; at < code.size() && !in->isDone;) {
        if (++in->steps > MAX_STEPS || in->outline->path.size() > MAX_SEGMENTS ||
            in->stack.size() > STACK_LIMIT)
            return false;
        int first = (uint8_t)code[at];
        if (first >= 32) {
            double value;
            if (!readCharNumber(code, &at, &value))
                return false;
            in->stack.push_back(value);
            continue;
        }
        at++;
        if (first == RETURN)
            return true;
        if (first == ESCAPE) {
            if (at == code.size())
                return false;
            first = 1200 + (uint8_t)code[at++];
        }
        if (!runOperator(in, first, depth))
            return false;
    }
    return true;
}

} // namespace

std::optional<Type1Program> readType1(const std::string &data)
{
    std::string joined = withoutSegments(data);
    Type1Program program;
    size_t clearSize = 0;
    std::string text = privatePart(joined, &clearSize);
    readClearPart(std::string_view(joined).substr(0, clearSize), &program);
    PrivateReader reader;
    reader.reader.content = text;
    reader.program = &program;
    readPrivatePart(&reader);
    bool hasMasters = std::string_view(joined).substr(0, clearSize).find("/WeightVector") !=
                      std::string_view::npos;
    if (reader.hasUnread || hasMasters || program.charstrings.empty())
        return std::nullopt;
    return program;
}

bool type1Outline(const Type1Program &program, const std::string &name, Outline *outline,
                  double *advance)
{
    *outline = {};
    Interpreter in;
    in.program = &program;
    in.outline = outline;
    bool good = runGlyph(&in, name);
    *advance = in.advance;
    return good;
}

} // namespace prepare
