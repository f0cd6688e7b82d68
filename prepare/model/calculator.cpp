/*
 * calculator.cpp - programs of computed functions, read and run
 */
#include "prepare/model/calculator.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <unordered_map>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

enum Code : uint8_t {
    PUSH,
    JUMP,
    JUMP_UNLESS,
    ABS,
    ADD,
    AND,
    ATAN,
    BITSHIFT,
    CEILING,
    COPY,
    COS,
    CVI,
    CVR,
    DIV,
    DUP,
    EQ,
    EXCH,
    EXP,
    PUSH_FALSE,
    FLOOR,
    GE,
    GT,
    IDIV,
    INDEX,
    LE,
    LN,
    LOG,
    LT,
    MOD,
    MUL,
    NE,
    NEG,
    NOT,
    OR,
    POP,
    ROLL,
    ROUND,
    SIN,
    SQRT,
    SUB,
    PUSH_TRUE,
    TRUNCATE,
    XOR,
};

const std::unordered_map<std::string_view, Code> codes = {
    {"abs", ABS},
    {"add", ADD},
    {"and", AND},
    {"atan", ATAN},
    {"bitshift", BITSHIFT},
    {"ceiling", CEILING},
    {"copy", COPY},
    {"cos", COS},
    {"cvi", CVI},
    {"cvr", CVR},
    {"div", DIV},
    {"dup", DUP},
    {"eq", EQ},
    {"exch", EXCH},
    {"exp", EXP},
    {"false", PUSH_FALSE},
    {"floor", FLOOR},
    {"ge", GE},
    {"gt", GT},
    {"idiv", IDIV},
    {"index", INDEX},
    {"le", LE},
    {"ln", LN},
    {"log", LOG},
    {"lt", LT},
    {"mod", MOD},
    {"mul", MUL},
    {"ne", NE},
    {"neg", NEG},
    {"not", NOT},
    {"or", OR},
    {"pop", POP},
    {"roll", ROLL},
    {"round", ROUND},
    {"sin", SIN},
    {"sqrt", SQRT},
    {"sub", SUB},
    {"true", PUSH_TRUE},
    {"truncate", TRUNCATE},
    {"xor", XOR},
};

/* ---- reading ---- */

constexpr int MAX_BRACES = 64;

struct ProgramReader {
    std::string_view text;
    size_t at = 0;
    Calculator *into;
};

bool isBrace(char c)
{
    return c == '{' || c == '}';
}

/* A brace or a word; empty at the end. */
std::string_view nextWord(ProgramReader *reader)
{
    std::string_view text = reader->text;
    while (reader->at < text.size()) {
        if (text[reader->at] == '%') {
            size_t end = text.find_first_of("\r\n", reader->at);
            reader->at = std::min(end, text.size());
        } else if (isWhite(text[reader->at])) {
            reader->at++;
        } else {
            break;
        }
    }
    size_t begin = reader->at;
    if (begin < text.size() && isBrace(text[begin])) {
        reader->at++;
    } else {
        while (reader->at < text.size() && !isWhite(text[reader->at]) &&
               !isBrace(text[reader->at]) && text[reader->at] != '%')
            reader->at++;
    }
    return text.substr(begin, reader->at - begin);
}

bool append(ProgramReader *reader, Code code, double value = 0)
{
    if (reader->into->code.size() >= MAX_PROGRAM_STEPS)
        return false;
    reader->into->code.push_back({code, value});
    return true;
}

bool appendNumber(ProgramReader *reader, std::string_view word)
{
    if (word.size() > 1 && word[0] == '+')
        word.remove_prefix(1);
    double value = 0;
    auto end = std::from_chars(word.data(), word.data() + word.size(), value);
    bool isNumber = end.ec == std::errc() && end.ptr == word.data() + word.size();
    return isNumber && std::isfinite(value) && append(reader, PUSH, value);
}

bool readBlock(ProgramReader *reader, int depth);

/* Behind the brace of what is done on a condition. */
bool readBranch(ProgramReader *reader, int depth)
{
    std::vector<Instruction> &code = reader->into->code;
    size_t unless = code.size();
    if (!append(reader, JUMP_UNLESS) || !readBlock(reader, depth + 1))
        return false;
    std::string_view word = nextWord(reader);
    if (word == "if") {
        code[unless].value = (double)code.size();
        return true;
    }
    size_t jump = code.size();
    if (word != "{" || !append(reader, JUMP))
        return false;
    code[unless].value = (double)code.size();
    if (!readBlock(reader, depth + 1) || nextWord(reader) != "ifelse")
        return false;
    code[jump].value = (double)code.size();
    return true;
}

/* Behind its brace, to the one that closes it. */
bool readBlock(ProgramReader *reader, int depth)
{
    if (depth > MAX_BRACES)
        return false;
    for (;;) {
        std::string_view word = nextWord(reader);
        if (word == "}")
            return true;
        bool isRead;
        if (word == "{") {
            isRead = readBranch(reader, depth);
        } else {
            auto code = codes.find(word);
            isRead = code != codes.end() ? append(reader, code->second)
                                         : !word.empty() && appendNumber(reader, word);
        }
        if (!isRead)
            return false;
    }
}

/* ---- running ---- */

struct Value {
    double number;
    bool isBoolean;
};

struct Machine {
    std::array<Value, MAX_CALCULATOR_STACK> stack;
    size_t depth = 0;
};

bool push(Machine *m, double number, bool isBoolean = false)
{
    if (m->depth >= m->stack.size() || !std::isfinite(number))
        return false;
    m->stack[m->depth++] = {number, isBoolean};
    return true;
}

int64_t whole(double number)
{
    constexpr double MOST = 2147483647;
    return (int64_t)std::clamp(std::trunc(number), -MOST - 1, MOST);
}

double degrees(double radians)
{
    constexpr double HALF_TURN = 180;
    return radians * HALF_TURN / 3.14159265358979323846;
}

double sineOf(double angle)
{
    /* Quarter turns come out exactly. */
    double rest = std::remainder(angle, 360);
    if (rest == 0 || std::abs(rest) == 180)
        return 0;
    if (std::abs(rest) == 90)
        return rest > 0 ? 1 : -1;
    return std::sin(rest / degrees(1));
}

double arcTangent(double numerator, double denominator)
{
    double angle = degrees(std::atan2(numerator, denominator));
    return angle < 0 ? angle + 360 : angle;
}

double shifted(int64_t number, int64_t by)
{
    if (std::abs(by) > 31)
        return 0;
    uint32_t bits = (uint32_t)number;
    return (double)(int32_t)(by >= 0 ? bits << by : bits >> -by);
}

double bitwise(Code code, int64_t a, int64_t b)
{
    return (double)(int32_t)(code == AND ? a & b : code == OR ? a | b : a ^ b);
}

bool unary(Machine *m, Code code)
{
    if (m->depth < 1)
        return false;
    Value x = m->stack[--m->depth];
    switch (code) {
    case ABS:
        return push(m, std::abs(x.number));
    case CEILING:
        return push(m, std::ceil(x.number));
    case COS:
        return push(m, sineOf(x.number + 90));
    case CVI:
        return push(m, (double)whole(x.number));
    case TRUNCATE:
        return push(m, std::trunc(x.number));
    case CVR:
        return push(m, x.number);
    case DUP:
        return push(m, x.number, x.isBoolean) && push(m, x.number, x.isBoolean);
    case FLOOR:
        return push(m, std::floor(x.number));
    case LN:
        return push(m, std::log(x.number));
    case LOG:
        return push(m, std::log10(x.number));
    case NEG:
        return push(m, -x.number);
    case NOT:
        return x.isBoolean ? push(m, x.number == 0, true) : push(m, (double)~whole(x.number));
    case ROUND:
        return push(m, std::floor(x.number + 0.5));
    case SIN:
        return push(m, sineOf(x.number));
    case SQRT:
        return push(m, std::sqrt(x.number));
    default: /* POP */
        return true;
    }
}

bool binary(Machine *m, Code code)
{
    if (m->depth < 2)
        return false;
    Value y = m->stack[--m->depth], x = m->stack[--m->depth];
    double a = x.number, b = y.number;
    switch (code) {
    case ADD:
        return push(m, a + b);
    case SUB:
        return push(m, a - b);
    case MUL:
        return push(m, a * b);
    case DIV:
        return push(m, a / b);
    case IDIV:
        return whole(b) != 0 && push(m, (double)(whole(a) / whole(b)));
    case MOD:
        return whole(b) != 0 && push(m, (double)(whole(a) % whole(b)));
    case ATAN:
        return push(m, arcTangent(a, b));
    case EXP:
        return push(m, std::pow(a, b));
    case BITSHIFT:
        return push(m, shifted(whole(a), whole(b)));
    case EXCH:
        return push(m, b, y.isBoolean) && push(m, a, x.isBoolean);
    case EQ:
        return push(m, a == b, true);
    case NE:
        return push(m, a != b, true);
    case GE:
        return push(m, a >= b, true);
    case GT:
        return push(m, a > b, true);
    case LE:
        return push(m, a <= b, true);
    case LT:
        return push(m, a < b, true);
    default: /* AND, OR, XOR */
        return push(m, bitwise(code, whole(a), whole(b)), x.isBoolean && y.isBoolean);
    }
}

/* n copy, n index, n j roll */
bool arrange(Machine *m, Code code)
{
    size_t operands = code == ROLL ? 2 : 1;
    if (m->depth < operands)
        return false;
    int64_t by = code == ROLL ? whole(m->stack[--m->depth].number) : 0;
    int64_t count = whole(m->stack[--m->depth].number);
    if (count < 0 || (size_t)count > m->depth)
        return false;
    auto top = m->stack.begin() + (std::ptrdiff_t)m->depth;
    if (code == INDEX) {
        if ((size_t)count >= m->depth)
            return false;
        Value value = *(top - 1 - count);
        return push(m, value.number, value.isBoolean);
    }
    if (code == COPY) {
        if (m->depth + (size_t)count > m->stack.size())
            return false;
        std::copy(top - count, top, top);
        m->depth += (size_t)count;
        return true;
    }
    if (count == 0)
        return true;
    by = ((by % count) + count) % count;
    std::rotate(top - count, top - by, top);
    return true;
}

bool step(Machine *m, const Instruction &instruction)
{
    Code code = (Code)instruction.code;
    switch (code) {
    case PUSH:
        return push(m, instruction.value);
    case PUSH_TRUE:
    case PUSH_FALSE:
        return push(m, code == PUSH_TRUE, true);
    case COPY:
    case INDEX:
    case ROLL:
        return arrange(m, code);
    case ADD:
    case SUB:
    case MUL:
    case DIV:
    case IDIV:
    case MOD:
    case ATAN:
    case EXP:
    case BITSHIFT:
    case EXCH:
    case EQ:
    case NE:
    case GE:
    case GT:
    case LE:
    case LT:
    case AND:
    case OR:
    case XOR:
        return binary(m, code);
    default:
        return unary(m, code);
    }
}

} // namespace

bool readCalculatorProgram(std::string_view text, Calculator *calculator)
{
    ProgramReader reader{text, 0, calculator};
    return nextWord(&reader) == "{" && readBlock(&reader, 0);
}

void runCalculator(const Calculator &calculator, std::span<const double> inputs,
                   std::span<double> outputs)
{
    Machine machine;
    for (double input : inputs)
        push(&machine, input);
    for (size_t at = 0; at < calculator.code.size(); at++) {
        const Instruction &instruction = calculator.code[at];
        if (instruction.code == JUMP) {
            at = (size_t)instruction.value - 1;
        } else if (instruction.code == JUMP_UNLESS) {
            if (machine.depth == 0)
                break;
            if (machine.stack[--machine.depth].number == 0)
                at = (size_t)instruction.value - 1;
        } else if (!step(&machine, instruction)) {
            break;
        }
    }
    size_t missing = outputs.size() - std::min(outputs.size(), machine.depth);
    std::fill(outputs.begin(), outputs.end(), 0);
    for (size_t i = missing; i < outputs.size(); i++)
        outputs[i] = machine.stack[machine.depth - outputs.size() + i].number;
}

} // namespace prepare
