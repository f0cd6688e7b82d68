/*
 * states.cpp - what of graphics states matters to a PostScript device
 */
#include "prepare/canonical/states.h"

#include "prepare/canonical/functions.h"
#include "prepare/canonical/values.h"
#include "prepare/document/spool.h"

namespace prepare {

namespace {

constexpr Field stateFields[] = {
    {"/SA", ValueKind::BOOLEAN},
    {"/OP", ValueKind::BOOLEAN},
    {"/HTP", ValueKind::NUMBERS, -LARGEST_NUMBER, LARGEST_NUMBER, 2},
};

constexpr Field screenFields[] = {
    {"/HalftoneType", ValueKind::INTEGER, 1, 1},
    {"/Frequency", ValueKind::NUMBER, 1, 10000},
    {"/Angle", ValueKind::NUMBER, -360, 360},
    {"/AccurateScreens", ValueKind::BOOLEAN},
};

constexpr int MAX_THRESHOLD_SIDE = 255; /* so that the table is a string */

constexpr Field tableFields[] = {
    {"/HalftoneType", ValueKind::INTEGER, 6, 6},
    {"/Width", ValueKind::INTEGER, 1, MAX_THRESHOLD_SIDE},
    {"/Height", ValueKind::INTEGER, 1, MAX_THRESHOLD_SIDE},
};

constexpr Field angledFields[] = {
    {"/HalftoneType", ValueKind::INTEGER, 10, 10},
    {"/Xsquare", ValueKind::INTEGER, 1, MAX_THRESHOLD_SIDE / 2},
    {"/Ysquare", ValueKind::INTEGER, 1, MAX_THRESHOLD_SIDE / 2},
};

constexpr Field spotName = {
    "/SpotFunction",
    ValueKind::WORD,
    0,
    0,
    0,
    "SimpleDot InvertedSimpleDot DoubleDot InvertedDoubleDot CosineDot Double InvertedDouble Line "
    "LineX LineY Round Ellipse EllipseA InvertedEllipseA EllipseB EllipseC InvertedEllipseC Square "
    "Cross Rhomboid Diamond"};

constexpr Field transferName = {"/TransferFunction", ValueKind::WORD, 0, 0, 0, "Identity"};
constexpr Field stateTransferName = {"/TR", ValueKind::WORD, 0, 0, 0, "Identity Default"};
constexpr Field defaultName = {"", ValueKind::WORD, 0, 0, 0, "Default"};

constexpr const char *colorants[] = {"/Red",    "/Green", "/Blue", "/Cyan",   "/Magenta",
                                     "/Yellow", "/Black", "/Gray", "/Default"};

QPDFObjectHandle none()
{
    return QPDFObjectHandle::newNull();
}

/* A function of one output, or one of the field's names. */
QPDFObjectHandle functionOr(Document *document, const Field &names, QPDFObjectHandle value,
                            size_t inputs)
{
    return value.isName() ? plainValue(names, value) : plainFunction(document, value, inputs, 1);
}

/* ---- halftones; null: the printer's own takes its place */

QPDFObjectHandle plainHalftone(Document *document, QPDFObjectHandle halftone, bool isPart);

QPDFObjectHandle plainScreen(Document *document, QPDFObjectHandle source)
{
    QPDFObjectHandle plain = plainDictionary(screenFields, source);
    QPDFObjectHandle spot = functionOr(document, spotName, source.getKey("/SpotFunction"), 2);
    if (!plain.hasKey("/Frequency") || !plain.hasKey("/Angle") || spot.isNull())
        return none();
    plain.replaceKey("/SpotFunction", spot);
    return plain;
}

/* Thresholds: a byte for each place. */
QPDFObjectHandle plainThresholds(Document *document, QPDFObjectHandle halftone,
                                 std::span<const Field> fields)
{
    if (!halftone.isStream())
        return none();
    QPDFObjectHandle plain = plainDictionary(fields, halftone.getDict());
    long long x = integerOr(plain.getKey(fields[1].key), 0);
    long long y = integerOr(plain.getKey(fields[2].key), 0);
    if (x < 1 || y < 1)
        return none();
    bool damaged = false, isTable = fields[0].low == 6;
    std::string data = decodeStream(halftone, 1u << 20, &damaged);
    data.resize((size_t)(isTable ? x * y : x * x + y * y));
    QPDFObjectHandle stream = newClearStream(document, data);
    stream.replaceDict(plain);
    return stream;
}

QPDFObjectHandle plainParts(Document *document, QPDFObjectHandle source)
{
    QPDFObjectHandle plain = QPDFObjectHandle::newDictionary();
    plain.replaceKey("/HalftoneType", QPDFObjectHandle::newInteger(5));
    for (const char *colorant : colorants)
        plain.replaceKey(colorant, plainHalftone(document, source.getKey(colorant), true));
    return plain.hasKey("/Default") ? plain : none();
}

QPDFObjectHandle plainHalftone(Document *document, QPDFObjectHandle halftone, bool isPart)
{
    QPDFObjectHandle dict = halftone.isStream() ? halftone.getDict() : halftone;
    QPDFObjectHandle plain = none();
    switch (integerOr(entryOf(dict, "/HalftoneType"), 0)) {
    case 1:
        plain = plainScreen(document, dict);
        break;
    case 5:
        return isPart ? none() : plainParts(document, dict);
    case 6:
        plain = plainThresholds(document, halftone, tableFields);
        break;
    case 10:
        plain = plainThresholds(document, halftone, angledFields);
        break;
    default:
        break;
    }
    if (plain.isNull())
        return plain;
    QPDFObjectHandle transfer =
        functionOr(document, transferName, dict.getKey("/TransferFunction"), 1);
    (plain.isStream() ? plain.getDict() : plain).replaceKey("/TransferFunction", transfer);
    return plain;
}

/* One transfer function for all inks, or one for each of four. */
QPDFObjectHandle plainTransfer(Document *document, QPDFObjectHandle value)
{
    constexpr int INKS = 4;
    if (!value.isArray())
        return functionOr(document, stateTransferName, value, 1);
    if (value.getArrayNItems() != INKS)
        return none();
    QPDFObjectHandle plain = QPDFObjectHandle::newArray();
    for (int i = 0; i < INKS; i++) {
        plain.appendItem(functionOr(document, stateTransferName, value.getArrayItem(i), 1));
        if (plain.getArrayItem(i).isNull())
            return none();
    }
    return plain;
}

QPDFObjectHandle makeState(Document *document, QPDFObjectHandle state)
{
    QPDFObjectHandle plain = plainDictionary(stateFields, state);
    for (const char *key : {"/BG", "/UCR"})
        plain.replaceKey(key, functionOr(document, defaultName, state.getKey(key), 1));
    plain.replaceKey("/TR", plainTransfer(document, state.getKey("/TR")));
    QPDFObjectHandle halftone = state.getKey("/HT");
    plain.replaceKey("/HT", halftone.isName() ? plainValue(defaultName, halftone)
                                              : plainHalftone(document, halftone, false));
    return plain;
}

struct StateMemo {
    std::map<QPDFObjGen, QPDFObjectHandle> made;
};

} // namespace

QPDFObjectHandle plainState(Document *document, QPDFObjectHandle state)
{
    if (!state.isDictionary())
        return none();
    if (!state.isIndirect())
        return makeState(document, state);
    auto [place, isNew] = document->memos.of<StateMemo>().made.try_emplace(state.getObjGen());
    if (isNew) /* shared ones stay so */
        place->second = document->source.pdf.makeIndirectObject(makeState(document, state));
    return place->second;
}

} // namespace prepare
