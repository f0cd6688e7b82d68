/*
 * operators.h - what each operator of page content does, in one table
 */
#ifndef PREPARE_MODEL_OPERATORS_H
#define PREPARE_MODEL_OPERATORS_H

#include <cstdint>
#include <string_view>

namespace prepare {

/* One for each row of operators.def, and one for whatever is no operator. */
enum class Op : uint8_t {
    UNKNOWN,
#define OPERATOR(id, name, operands, classes) id,
#include "prepare/model/operators.def"
#undef OPERATOR
};

enum OperatorClass : uint16_t {
    MAKES_PATH = 1 << 0, /* appends to the path */
    ENDS_PATH = 1 << 1,  /* paints it, or not, and begins a new one */
    FILLS = 1 << 2,      /* the path */
    STROKES = 1 << 3,    /* the path */
    CLOSES = 1 << 4,     /* the path, before painting it */
    EVEN_ODD = 1 << 5,   /* by that rule; else by the winding number */
    CLIPS = 1 << 6,
    SHOWS_TEXT = 1 << 7,
    MOVES_TEXT = 1 << 8, /* sets the line matrix */
    SETS_SPACE = 1 << 9,
    SETS_COLOUR = 1 << 10, /* in the space selected */
    SETS_DEVICE = 1 << 11, /* a device space with a colour */
    OF_STROKES = 1 << 12,  /* of those three: that of strokes, else that of fills */
    PAINTS = 1 << 13,      /* something other than the path or text */
};

struct Operator {
    Op id = Op::UNKNOWN;
    std::string_view name;
    std::string_view types; /* of its operands, by the letters of operators.def */
    uint8_t operands = 0;   /* at least so many */
    uint16_t classes = 0; /* bits of OperatorClass */

    bool is(uint16_t bits) const { return (classes & bits) != 0; }
    bool paintsPath() const { return is(FILLS | STROKES); }
    bool ofStrokes() const { return is(OF_STROKES); }
};

/* The row of a name; that of Op::UNKNOWN, whose name is empty, for any other word. */
const Operator &operatorOf(std::string_view name);

} // namespace prepare

#endif
