/*
 * tiling.cpp - the cell becomes a form, once for each colour; blocks of cells become forms of forms
 */
#include "prepare/paint/tiling.h"

#include <cmath>

namespace prepare {

namespace {

constexpr int BLOCK = 8;         /* cells along a side of a block */
constexpr double MANY_CELLS = 4; /* blocks' worth of cells before blocks are used */

/* What content starts with that inherits nothing. */
const char freshState[] = "1 w 0 J 0 j 10 M [] 0 d 0 Tc 0 Tw 100 Tz 0 TL 0 Tr 0 Ts\n";

/* Forms of cells, by pattern and what stands before the cell; and blocks of them. */
struct CellForms {
    std::map<std::pair<QPDFObjGen, std::string>, QPDFObjectHandle> forms;
};

auto &formsOf(Rewriter *rewriter)
{
    return rewriter->document->memos.of<CellForms>().forms;
}

/* The lattice of a pattern. */
struct Lattice {
    Box cell;
    double x, y; /* steps */
};

std::optional<Lattice> latticeOf(QPDFObjectHandle dict)
{
    Lattice lattice = {boxOf(dict.getKey("/BBox")), std::abs(numberOr(dict.getKey("/XStep"), 0)),
                       std::abs(numberOr(dict.getKey("/YStep"), 0))};
    const Box &cell = lattice.cell;
    constexpr double LEAST = 1e-6;
    if (cell.right - cell.left < LEAST || cell.top - cell.bottom < LEAST)
        return std::nullopt;
    if (lattice.x < LEAST)
        lattice.x = cell.right - cell.left;
    if (lattice.y < LEAST)
        lattice.y = cell.top - cell.bottom;
    return lattice;
}

/* Cells along one axis whose boxes meet the box. */
struct Range {
    double first, last;
    double count() const { return std::max(0.0, last - first + 1); }
};

Range cellsAlong(double cellLow, double cellHigh, double step, double low, double high)
{
    constexpr double TOUCH = 1e-4; /* of a step: cells that do no more than that are left out */
    return {std::ceil((low - cellHigh) / step + TOUCH),
            std::floor((high - cellLow) / step - TOUCH)};
}

QPDFObjectHandle newForm(Rewriter *rewriter, const Box &box, const std::string &content)
{
    QPDFObjectHandle form = newFlateStream(&rewriter->document->source.pdf, content);
    std::string corners = "[";
    for (double value : {box.left, box.bottom, box.right, box.top})
        corners += numberText(value) + " ";
    form.getDict().replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    form.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    form.getDict().replaceKey("/BBox", QPDFObjectHandle::parse(corners + "]"));
    return form;
}

QPDFObjectHandle cellForm(Rewriter *rewriter, const Pattern &selected, const Box &cell,
                          bool isUncoloured, const DeviceColour &colour)
{
    QPDFObjectHandle pattern = selected.object;
    std::string prefix = freshState + colourText(colour, false) + " " + colourText(colour, true);
    QPDFObjectHandle &form = formsOf(rewriter)[{pattern.getObjGen(), prefix}];
    if (form.isInitialized())
        return form;
    form = QPDFObjectHandle::newNull(); /* what a pattern within itself finds */
    QPDFObjectHandle resources = pattern.getDict().getKey("/Resources");
    std::string content = rewriteCell(rewriter, pattern, *selected.scope, isUncoloured);
    form = newForm(rewriter, cell, prefix + "\n" + content);
    form.getDict().replaceKey("/Resources",
                              resources.isDictionary() ? resources : selected.scope->resources);
    return form;
}

std::string cellText(double x, double y, const std::string &name)
{
    return "q 1 0 0 1 " + numberText(x) + " " + numberText(y) + " cm " + name + " Do Q\n";
}

/* A form of cells, the first at the origin. */
QPDFObjectHandle blockForm(Rewriter *rewriter, const Lattice &lattice, QPDFObjectHandle cell)
{
    QPDFObjectHandle &known = formsOf(rewriter)[{cell.getObjGen(), "block"}];
    if (known.isInitialized())
        return known;
    std::string content;
    for (int j = 0; j < BLOCK; j++)
        for (int i = 0; i < BLOCK; i++)
            content += cellText(i * lattice.x, j * lattice.y, "/C");
    Box box = lattice.cell;
    box.right += (BLOCK - 1) * lattice.x;
    box.top += (BLOCK - 1) * lattice.y;
    QPDFObjectHandle form = newForm(rewriter, box, content);
    QPDFObjectHandle resources = QPDFObjectHandle::parse("<</XObject <<>>>>");
    resources.getKey("/XObject").replaceKey("/C", cell);
    form.getDict().replaceKey("/Resources", resources);
    return known = form;
}

/* The name of a form as a resource, the same wherever it is painted. */
std::string nameOfForm(Rewriter *rewriter, QPDFObjectHandle form)
{
    std::string name = "/PfT" + std::to_string(form.getObjectID());
    putResource(rewriter, XOBJECT, name, form);
    return name;
}

std::string cellsText(const Lattice &lattice, const Range &across, const Range &up, int stride,
                      const std::string &name)
{
    std::string text;
    for (double j = up.first; j <= up.last; j += stride)
        for (double i = across.first; i <= across.last; i += stride)
            text += cellText(i * lattice.x, j * lattice.y, name);
    return text;
}

/* One colour in place of the cells. */
std::string plainContent(Rewriter *rewriter, const Pattern &selected, const DeviceColour &colour,
                         const Box &box)
{
    say(rewriter->document, Message::PatternPlain, rewriter->page->number);
    bool isUncoloured = integerOr(QPDFObjectHandle(selected.object).getDict().getKey("/PaintType"), 1) == 2;
    DeviceColour plain = isUncoloured ? colour : tilingColour(*selected.scope, selected.object);
    return colourText(plain, false) + " " + rectangleText(box) + "f\n";
}

} // namespace

std::optional<std::string> tilingContent(Rewriter *rewriter, const Pattern &pattern,
                                         const DeviceColour &colour, const Box &box)
{
    QPDFObjectHandle stream = pattern.object, dict = stream.getDict();
    std::optional<Lattice> lattice = latticeOf(dict);
    if (!lattice || isEmpty(box))
        return "";
    const Box &cell = lattice->cell;
    Range across = cellsAlong(cell.left, cell.right, lattice->x, box.left, box.right);
    Range up = cellsAlong(cell.bottom, cell.top, lattice->y, box.bottom, box.top);
    double count = across.count() * up.count();
    if (count == 0)
        return "";
    constexpr double ABSURD = 1e7; /* nobody draws those */
    if (!(count <= ABSURD))
        return plainContent(rewriter, pattern, colour, box);
    if (count > MAX_CELLS || rewriter->depth >= MAX_FORM_DEPTH)
        return std::nullopt;
    bool isUncoloured = integerOr(dict.getKey("/PaintType"), 1) == 2;
    QPDFObjectHandle form =
        cellForm(rewriter, pattern, cell, isUncoloured, isUncoloured ? colour : DeviceColour{});
    if (!form.isStream())
        return std::nullopt;
    if (count < MANY_CELLS * BLOCK * BLOCK)
        return cellsText(*lattice, across, up, 1, nameOfForm(rewriter, form));
    QPDFObjectHandle block = blockForm(rewriter, *lattice, form);
    return cellsText(*lattice, across, up, BLOCK, nameOfForm(rewriter, block));
}

DeviceColour tilingColour(const ResourceScope &scope, QPDFObjectHandle pattern)
{
    constexpr double GRAY = 0.5, NEARLY_WHITE = 0.999;
    constexpr size_t MOST_BYTES = 1u << 20;
    DeviceColour found{1, {GRAY, 0, 0, 0}};
    bool damaged = false;
    std::string content;
    try {
        content = decodeStream(pattern, MOST_BYTES, &damaged);
    } catch (const LimitReached &) {
        return found;
    }
    ResourceScope inner{pattern.getDict().getKey("/Resources"), &scope};
    ContentState state;
    beginContent(&state, &inner);
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation)) {
        bool isFill = operation.op->is(FILLS);
        if (operation.op->paintsPath()) {
            DeviceColour colour =
                deviceColourOf(isFill ? state.now.fill : state.now.stroke);
            DeviceColour rgb = toRgb(colour);
            if (rgb.values[0] < NEARLY_WHITE || rgb.values[1] < NEARLY_WHITE || rgb.values[2] < NEARLY_WHITE)
                return colour;
        }
        track(&state, operation);
    }
    return found;
}

} // namespace prepare
