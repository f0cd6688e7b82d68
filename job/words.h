/*
 * words.h - what may stand in a section: operators, keys of dictionaries, procedures
 *
 * Whoever wants to know what a printer gets of a document reads this and verify.cpp.
 */
#ifndef JOB_WORDS_H
#define JOB_WORDS_H

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace job {

constexpr size_t LONGEST_RESOURCE_NAME = 64; /* characters */

/* ---- operators of content */

/* What an operator means to whoever counts. */
enum class Effect : uint8_t {
    NONE,
    SAVE,
    RESTORE,
    BEGIN_TEXT,
    END_TEXT,
    SEGMENT,
    RECTANGLE,
    PAINT, /* ends a path */
    SHOW,
    FONT,
    DRAW,
    STATE,
    COLOUR, /* any numbers, up to 32, and perhaps a name */
    GLYPH,  /* begins the content of a glyph, and stands nowhere else */
};

/* Kinds of operands, a letter each: n number, N name, s string, a array of numbers, t array of
 * numbers and strings, D dictionary. */
struct Operator {
    std::string_view name, operands;
    Effect effect = Effect::NONE;
    std::string_view others = {}; /* operands that it takes, too */
};

constexpr Operator operators[] = {
    {"q", "", Effect::SAVE},
    {"Q", "", Effect::RESTORE},
    {"cm", "nnnnnn"},
    {"w", "n"},
    {"J", "n"},
    {"j", "n"},
    {"M", "n"},
    {"d", "an"},
    {"ri", "N"},
    {"i", "n"},
    {"gs", "N", Effect::STATE},
    {"m", "nn", Effect::SEGMENT},
    {"l", "nn", Effect::SEGMENT},
    {"c", "nnnnnn", Effect::SEGMENT},
    {"v", "nnnn", Effect::SEGMENT},
    {"y", "nnnn", Effect::SEGMENT},
    {"h", "", Effect::SEGMENT},
    {"re", "nnnn", Effect::RECTANGLE},
    {"S", "", Effect::PAINT},
    {"s", "", Effect::PAINT},
    {"f", "", Effect::PAINT},
    {"F", "", Effect::PAINT},
    {"f*", "", Effect::PAINT},
    {"B", "", Effect::PAINT},
    {"B*", "", Effect::PAINT},
    {"b", "", Effect::PAINT},
    {"b*", "", Effect::PAINT},
    {"n", "", Effect::PAINT},
    {"W", ""},
    {"W*", ""},
    {"CS", "N"},
    {"cs", "N"},
    {"SC", "", Effect::COLOUR},
    {"SCN", "", Effect::COLOUR},
    {"sc", "", Effect::COLOUR},
    {"scn", "", Effect::COLOUR},
    {"G", "n"},
    {"g", "n"},
    {"RG", "nnn"},
    {"rg", "nnn"},
    {"K", "nnnn"},
    {"k", "nnnn"},
    {"sh", "N"},
    {"BT", "", Effect::BEGIN_TEXT},
    {"ET", "", Effect::END_TEXT},
    {"Tc", "n"},
    {"Tw", "n"},
    {"Tz", "n"},
    {"TL", "n"},
    {"Tf", "Nn", Effect::FONT},
    {"Tr", "n"},
    {"Ts", "n"},
    {"Td", "nn"},
    {"TD", "nn"},
    {"Tm", "nnnnnn"},
    {"T*", ""},
    {"Tj", "s", Effect::SHOW},
    {"'", "s", Effect::SHOW},
    {"\"", "nns", Effect::SHOW},
    {"TJ", "t", Effect::SHOW, "a"},
    {"d0", "nn", Effect::GLYPH},
    {"d1", "nnnnnn", Effect::GLYPH},
    {"Do", "N", Effect::DRAW},
    {"MP", "N"},
    {"DP", "ND", Effect::NONE, "NN"},
    {"BMC", "N"},
    {"BDC", "ND", Effect::NONE, "NN"},
    {"EMC", ""},
    {"BX", ""},
    {"EX", ""},
};

/* ---- keys of dictionaries */

enum class Value : uint8_t {
    INTEGER, /* from `least` to `most` */
    NUMBER,
    BOOLEAN,
    NAME,        /* of up to 127 characters */
    NUMBERS,     /* an array of `least` to `most` */
    DIFFERENCES, /* an array of codes and names of glyphs */
    EXTERNAL,    /* the string that names the data in front */
    FILTERS,     /* a name, or an array of names */
    PARAMETERS,  /* a dictionary, or an array of dictionaries and nulls */
    SPACE,       /* a colour space, written out */
    FUNCTION,    /* a name */
    FUNCTIONS,   /* a name, or an array of up to four */
    HALFTONE,
};

struct Key {
    std::string_view name;
    Value value;
    int64_t least = 0, most = 0;
};

constexpr int64_t MOST_PIXELS = 1 << 20, MOST_INTEGER = INT32_MAX;

constexpr Key imageKeys[] = {
    {"ExternName", Value::EXTERNAL},
    {"Width", Value::INTEGER, 1, MOST_PIXELS},
    {"Height", Value::INTEGER, 1, MOST_PIXELS},
    {"BitsPerComponent", Value::INTEGER, 1, 8},
    {"ImageMask", Value::BOOLEAN},
    {"ColorSpace", Value::SPACE},
    {"Interpolate", Value::BOOLEAN},
    {"Intent", Value::NAME},
    {"Filter", Value::FILTERS},
    {"DecodeParms", Value::PARAMETERS},
    {"Decode", Value::NUMBERS, 2, 8},
};
enum ImageRow { IMAGE_EXTERNAL, IMAGE_WIDTH, IMAGE_HEIGHT, IMAGE_BITS, IMAGE_MASK, IMAGE_SPACE };

constexpr Key formKeys[] = {
    {"ExternName", Value::EXTERNAL},    {"BBox", Value::NUMBERS, 4, 4},
    {"Matrix", Value::NUMBERS, 6, 6},   {"XUID", Value::NUMBERS, 1, 16},
    {"FormType", Value::INTEGER, 1, 1},
};

constexpr Key fontKeys[] = {
    {"Name", Value::NAME},
    {"BaseFont", Value::NAME},
    {"Widths", Value::NUMBERS, 0, 65535},
    {"UseStandardEncoding", Value::BOOLEAN},
    {"BaseEncoding", Value::NAME},
    {"Differences", Value::DIFFERENCES},
};
enum FontRow { FONT_NAME };

constexpr Key encodingKeys[] = {
    {"BaseEncoding", Value::NAME},
    {"Differences", Value::DIFFERENCES},
};

/* Streams whose dictionary stands as the document has it: contents, tables of colours, programs. */
constexpr Key plainStreamKeys[] = {
    {"Length", Value::INTEGER, 0, MOST_INTEGER},
};
constexpr Key programKeys[] = {
    {"Subtype", Value::NAME},
    {"Length", Value::INTEGER, 0, MOST_INTEGER},
    {"Filter", Value::FILTERS},
    {"DecodeParms", Value::PARAMETERS},
};

constexpr Key parameterKeys[] = {
    {"Predictor", Value::INTEGER, 1, 15},
    {"Colors", Value::INTEGER, 1, 32},
    {"BitsPerComponent", Value::INTEGER, 1, 16},
    {"Columns", Value::INTEGER, 0, MOST_PIXELS},
    {"EarlyChange", Value::INTEGER, 0, 1},
    {"K", Value::INTEGER, -MOST_INTEGER, MOST_INTEGER},
    {"EndOfLine", Value::BOOLEAN},
    {"EncodedByteAlign", Value::BOOLEAN},
    {"Rows", Value::INTEGER, 0, MOST_PIXELS},
    {"EndOfBlock", Value::BOOLEAN},
    {"BlackIs1", Value::BOOLEAN},
    {"DamagedRowsBeforeError", Value::INTEGER, 0, MOST_PIXELS},
    {"ColorTransform", Value::INTEGER, 0, 2},
};

enum ParameterRow { PARAMETER_COLORS = 1, PARAMETER_BITS, PARAMETER_COLUMNS };

constexpr std::string_view filterNames[] = {
    "ASCIIHexDecode",  "ASCII85Decode",  "LZWDecode", "FlateDecode",
    "RunLengthDecode", "CCITTFaxDecode", "DCTDecode",
};

constexpr Key stateKeys[] = {
    {"SA", Value::BOOLEAN},        {"OP", Value::BOOLEAN},   {"BG", Value::FUNCTION},
    {"UCR", Value::FUNCTION},      {"TR", Value::FUNCTIONS}, {"HT", Value::HALFTONE},
    {"HTP", Value::NUMBERS, 2, 2},
};

/* Which of them, by their place, cost an interpreter more than an operator each time they are set,
 * and about as much as how many. */
struct StateCost {
    size_t key;
    uint64_t operators;
};
constexpr StateCost stateCosts[] = {{2, 1000}, {3, 1000}, {4, 1000}, {5, 30000}};

constexpr Key greyKeys[] = {
    {"WhitePoint", Value::NUMBERS, 3, 3},
    {"BlackPoint", Value::NUMBERS, 3, 3},
};

/* ---- procedures
 *
 * Token by token: "#" stands for any number, "#n" for a whole one from 0 to 32. */

constexpr std::string_view GREY_PROCEDURES =
    "/MatrixA [ 0.9505 1 1.089 ] /DecodeA { 1 0.45 div exp } bind "
    "/RangeLMN [ 0 0.9505 0 1 0 1.089 ] >> ]";
constexpr std::string_view RGB_PROCEDURES = "/DecodeLMN [ { 1 0.45 div exp } bind dup dup ]";
constexpr std::string_view LAB_PROCEDURES =
    "/DecodeABC [ { 16 add 116 div } bind { 500 div } bind { 200 div } bind ] "
    "/MatrixABC [ 1 1 1 1 0 0 0 0 -1 ] /DecodeLMN "
    "[ { dup 6 29 div ge { dup dup mul mul } { 4 29 div sub 108 841 div mul } ifelse 0.9505 mul } "
    "bind { dup 6 29 div ge { dup dup mul mul } { 4 29 div sub 108 841 div mul } ifelse } bind "
    "{ dup 6 29 div ge { dup dup mul mul } { 4 29 div sub 108 841 div mul } ifelse 1.089 mul } "
    "bind ] >> ]";

/* Sampled functions, of one input and of two. */
constexpr std::string_view FUNCTION_BEGINS =
    "pop 20 dict begin /local-dict currentdict def /Sample exch def { //local-dict begin";
constexpr std::string_view FUNCTION_ENDS = "end } bind end";

#define INDEX_OF_X                                                                                 \
    "/_i _x dup # ge { pop # } { dup # le { pop 0 } { # add # div # mul } ifelse } ifelse def "
#define INDEX_OF_Y                                                                                 \
    "/_j _y dup # ge { pop # } { dup # le { pop 0 } { # add # div # mul } ifelse } ifelse def "
#define X_BOUNDS "/xmin _i cvi def /xmax _i ceiling cvi def "
#define Y_BOUNDS "/ymin _j cvi def /ymax _j ceiling cvi def "
#define ALONG_X                                                                                    \
    "/f1 xmin xmax eq { { xmin f2 } } { { [ xmin f2 xmax f2 0 1 #n { dup 3 index exch get exch 3 " \
    "index exch get _i xmin xmax 5 3 roll int 3 1 roll } for pop pop ] } } ifelse def "
#define ALONG_Y                                                                                    \
    "/f2 ymin ymax eq { { /px exch def ymin f3 } } { { /px exch def [ ymin f3 ymax f3 0 1 #n { "   \
    "dup 3 index exch get exch 3 index exch get _j ymin ymax 5 3 roll int 3 1 roll } for pop pop " \
    "] } } ifelse def "
#define ONE_OUTPUT                                                                                 \
    "dup # ge { pop # } { dup 0 le { pop # } { # div # mul # sub } ifelse } ifelse rnd"

constexpr std::string_view ONE_INPUT =
    "/_x exch def " INDEX_OF_X X_BOUNDS ALONG_X "/f2 { /px exch def [ 0 # px limit # mul #n { dup";
constexpr std::string_view TWO_INPUTS =
    "/_y exch def 1 # div add dup # gt { pop # } if /_x exch def " INDEX_OF_X INDEX_OF_Y X_BOUNDS
        Y_BOUNDS ALONG_X ALONG_Y "/f3 { /py exch def [ 0 # py limit # mul 0 # px limit add # mul";

#define FETCH_12                                                                                   \
    "dup 7 and /bit-offset exch def -3 bitshift /byte-offset exch def //Sample byte-offset get "   \
    "//Sample byte-offset 1 add get bit-offset 0 eq { -4 bitshift exch 4 bitshift or } { exch 15 " \
    "and 8 bitshift or } ifelse "

/* How samples of up to 8 bits are fetched, of 12, and of more. */
constexpr std::string_view FETCH_FOR_ONE[] = {
    "dup 7 and exch -3 bitshift //Sample exch get exch # sub bitshift # and exch # add } repeat "
    "pop ] } def",
    FETCH_12 "exch # add } repeat pop ] } def",
    "-3 bitshift /byte-offset exch def 0 0 1 #n { byte-offset add //Sample exch get exch 8 "
    "bitshift "
    "or } for exch # add } repeat pop ] } def",
};
constexpr std::string_view FETCH_FOR_TWO[] = {
    "dup 7 and exch -3 bitshift //Sample exch get exch # sub bitshift # and ] } def",
    FETCH_12 "] } def",
    "-3 bitshift /byte-offset exch def 0 0 1 #n { byte-offset add //Sample exch get exch 8 "
    "bitshift "
    "or } for ] } def",
};
constexpr std::string_view ROUNDED = "/rnd { # mul 0.5 add floor # div } def f1 aload pop";
constexpr std::string_view OUTPUTS[] = {ONE_OUTPUT " #n 1 roll", "end } bind end"};
constexpr std::string_view SINGLE_OUTPUT = ONE_OUTPUT " end } bind end";

#undef INDEX_OF_X
#undef INDEX_OF_Y
#undef X_BOUNDS
#undef Y_BOUNDS
#undef ALONG_X
#undef ALONG_Y
#undef ONE_OUTPUT
#undef FETCH_12

} // namespace job

#endif
