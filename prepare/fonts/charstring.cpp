/*
 * charstring.cpp - the interpreter of Type 1 charstrings
 *
 * "Adobe Type 1 Font Format", chapter 6 (operators) and chapter 8 (flex and the replacement of
 * hints, which are known by the numbers of their procedures).  A charstring draws into an outline
 * with hints; steps, segments, the stack and the depth of calls are bounded, and a program that
 * breaks a rule has no outline.
 */
#include "prepare/fonts/type1.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "prepare/fonts/charstring.h"

namespace prepare {

namespace {

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
bool popArguments(Interpreter *in, size_t count, double *values)
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
    if (!popArguments(in, 5, v) || in->isAccented)
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
    if (!popArguments(in, 2 * count, v))
        return false;
    for (size_t i = 0; i < count; i++)
        addStem(in, isVertical, v[2 * i], v[2 * i + 1]);
    return true;
}

bool setWidth(Interpreter *in, size_t arguments)
{
    double v[4] = {0, 0, 0, 0};
    if (!popArguments(in, arguments, v))
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
        return popArguments(in, 1, v) && (moveBy(in, 0, v[0]), true);
    case HMOVETO:
        return popArguments(in, 1, v) && (moveBy(in, v[0], 0), true);
    case RMOVETO:
        return popArguments(in, 2, v) && (moveBy(in, v[0], v[1]), true);
    case RLINETO:
        return popArguments(in, 2, v) && (lineBy(in, v[0], v[1]), true);
    case HLINETO:
        return popArguments(in, 1, v) && (lineBy(in, v[0], 0), true);
    case VLINETO:
        return popArguments(in, 1, v) && (lineBy(in, 0, v[0]), true);
    case RRCURVETO:
        return popArguments(in, 6, v) && (curveBy(in, v[0], v[1], v[2], v[3], v[4], v[5]), true);
    case VHCURVETO:
        return popArguments(in, 4, v) && (curveBy(in, 0, v[0], v[1], v[2], v[3], 0), true);
    case HVCURVETO:
        return popArguments(in, 4, v) && (curveBy(in, v[0], 0, v[1], v[2], 0, v[3]), true);
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
