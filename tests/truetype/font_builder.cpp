/*
 * font_builder.cpp - TrueType fonts made in sight of the test
 */
#include "tests/truetype/font_builder.h"

#include <cstdlib>

namespace {

constexpr unsigned ARGUMENTS_ARE_WORDS = 0x0001;
constexpr unsigned MORE_COMPONENTS = 0x0020;

/* No character lies beyond it; it ends a subtable of format 4. */
const CmapSegment LAST_SEGMENT = {0xFFFF, 0xFFFF, 1};

} // namespace

FontBytes &FontBytes::u8(unsigned value)
{
    bytes += (char)value;
    return *this;
}

FontBytes &FontBytes::u16(unsigned value)
{
    return u8(value >> 8).u8(value);
}

FontBytes &FontBytes::u32(uint32_t value)
{
    return u16(value >> 16).u16(value);
}

FontBytes &FontBytes::text(const std::string &more)
{
    bytes += more;
    return *this;
}

FontBytes &FontBytes::zeros(size_t count)
{
    bytes.append(count, '\0');
    return *this;
}

/* ---- glyphs */

FontBytes glyphHeader(int numberOfContours, GlyphBox box)
{
    FontBytes header;
    for (int value : {numberOfContours, box.xMin, box.yMin, box.xMax, box.yMax})
        header.u16((unsigned)value);
    return header;
}

std::string simpleGlyph(const std::vector<GlyphContour> &contours, GlyphBox box)
{
    FontBytes glyph = glyphHeader((int)contours.size(), box);
    std::vector<GlyphPoint> points;
    for (const GlyphContour &contour : contours) {
        points.insert(points.end(), contour.begin(), contour.end());
        glyph.u16((unsigned)points.size() - 1);
    }
    glyph.u16(0); /* no instructions */
    for (const GlyphPoint &point : points)
        glyph.u8(point.onCurve ? 1 : 0);
    int previous = 0;
    for (const GlyphPoint &point : points) {
        glyph.u16((unsigned)(point.x - previous));
        previous = point.x;
    }
    previous = 0;
    for (const GlyphPoint &point : points) {
        glyph.u16((unsigned)(point.y - previous));
        previous = point.y;
    }
    return glyph;
}

std::string pointHeap(int count)
{
    FontBytes glyph = glyphHeader(1);
    glyph.u16((unsigned)count - 1).u16(0);
    for (int left = count; left > 0; left -= 256) {
        int run = left < 256 ? left : 256;
        glyph.u8(0x31 | 0x08).u8((unsigned)run - 1); /* on-curve, both deltas 0, repeated */
    }
    return glyph;
}

std::string compositeGlyph(const std::vector<GlyphComponent> &components, GlyphBox box)
{
    FontBytes glyph = glyphHeader(-1, box);
    for (size_t i = 0; i < components.size(); i++) {
        const GlyphComponent &component = components[i];
        bool last = i + 1 == components.size();
        glyph.u16(component.flags | (last ? 0 : MORE_COMPONENTS)).u16(component.glyph);
        for (int argument : {component.dx, component.dy})
            if (component.flags & ARGUMENTS_ARE_WORDS)
                glyph.u16((unsigned)argument);
            else
                glyph.u8((unsigned)argument);
        for (int value : component.transform)
            glyph.u16((unsigned)value);
    }
    return glyph;
}

/* ---- tables */

std::string nameTable(const std::vector<NameRecord> &records)
{
    FontBytes table, storage;
    table.u16(0).u16((unsigned)records.size()).u16(6 + 12 * (unsigned)records.size());
    for (const NameRecord &record : records) {
        table.u16(record.platform).u16(record.encoding).u16(record.language).u16(record.nameID);
        table.u16((unsigned)record.text.size()).u16((unsigned)storage.size());
        storage.text(record.text);
    }
    return table.text(storage);
}

std::string utf16(const std::string &ascii)
{
    std::string text;
    for (char c : ascii) {
        text += '\0';
        text += c;
    }
    return text;
}

FontBytes postHeader(unsigned formatInteger, unsigned formatFraction, int angleInteger,
                     unsigned angleFraction, int underlinePosition, int underlineThickness,
                     uint32_t isFixedPitch)
{
    FontBytes header;
    header.u16(formatInteger).u16(formatFraction);
    header.u16((unsigned)angleInteger).u16(angleFraction);
    header.u16((unsigned)underlinePosition).u16((unsigned)underlineThickness);
    header.u32(isFixedPitch).zeros(16);
    return header;
}

std::string postWithNames(const std::vector<unsigned> &indices,
                          const std::vector<std::string> &names)
{
    FontBytes table = postHeader(2, 0);
    table.u16((unsigned)indices.size());
    for (unsigned index : indices)
        table.u16(index);
    for (const std::string &name : names)
        table.u8((unsigned)name.size()).text(name);
    return table;
}

std::string cmapFormat4(const std::vector<CmapSegment> &honest)
{
    std::vector<CmapSegment> segments = honest;
    segments.push_back(LAST_SEGMENT);
    FontBytes ends, starts, deltas, rangeOffsets, glyphs;
    size_t left = segments.size(); /* entries of idRangeOffset from this one to the end */
    for (const CmapSegment &segment : segments) {
        ends.u16(segment.end);
        starts.u16(segment.start);
        deltas.u16((unsigned)segment.delta);
        rangeOffsets.u16(segment.glyphs.empty() ? 0 : (unsigned)(2 * left + glyphs.size()));
        for (int glyph : segment.glyphs)
            glyphs.u16((unsigned)glyph);
        left--;
    }
    FontBytes table;
    table.u16(4).u16(0).u16(0); /* the length is not used */
    table.u16(2 * (unsigned)segments.size()).zeros(6);
    return table.text(ends).u16(0).text(starts).text(deltas).text(rangeOffsets).text(glyphs);
}

std::string cmapFormat0(const std::vector<unsigned> &glyphs)
{
    FontBytes table;
    table.u16(0).u16(262).u16(0);
    for (unsigned glyph : glyphs)
        table.u8(glyph);
    return table.zeros(256 - glyphs.size());
}

std::string cmapTable(const std::vector<CmapRecord> &records)
{
    FontBytes table, subtables;
    table.u16(0).u16((unsigned)records.size());
    for (const CmapRecord &record : records) {
        table.u16(record.platform).u16(record.encoding);
        table.u32((uint32_t)(4 + 8 * records.size() + subtables.size()));
        subtables.text(record.subtable);
    }
    return table.text(subtables);
}

/* ---- fonts */

std::string locaTable(const std::vector<uint32_t> &offsets, unsigned format)
{
    FontBytes table;
    for (uint32_t offset : offsets)
        if (format == 0)
            table.u16(offset / 2);
        else
            table.u32(offset);
    return table;
}

std::string fontFile(uint32_t version, const std::map<std::string, std::string> &tables)
{
    FontBytes directory, content;
    size_t start = 12 + 16 * tables.size();
    directory.u32(version).u16((unsigned)tables.size()).zeros(6);
    for (const auto &[tag, table] : tables) {
        directory.text(tag).u32(0).u32((uint32_t)(start + content.size()));
        directory.u32((uint32_t)table.size());
        content.text(table).zeros((4 - table.size() % 4) % 4);
    }
    return directory.text(content);
}

std::string FontBuilder::build() const
{
    std::vector<uint32_t> offsets = {0};
    FontBytes glyf;
    for (const std::string &glyph : glyphs) {
        glyf.text(glyph).zeros(glyph.size() % 2);
        offsets.push_back((uint32_t)glyf.size());
    }
    FontBytes head, maxp, hhea, hmtx;
    head.u32(0x00010000).zeros(14).u16(unitsPerEm).zeros(16);
    for (int value : {box.xMin, box.yMin, box.xMax, box.yMax})
        head.u16((unsigned)value);
    head.zeros(6).u16(locaFormat).u16(0);
    maxp.u32(0x00010000).u16((unsigned)glyphs.size());
    hhea.zeros(34).u16((unsigned)advances.size());
    for (unsigned advance : advances)
        hmtx.u16(advance).u16(0);

    std::map<std::string, std::string> tables = {
        {"cmap", cmapTable({{1, 0, cmapFormat0({})}})},
        {"glyf", glyf},
        {"head", head},
        {"hhea", hhea},
        {"hmtx", hmtx},
        {"loca", locaTable(offsets, locaFormat)},
        {"maxp", maxp},
    };
    if (!names.empty()) {
        std::vector<unsigned> indices;
        for (size_t i = 0; i < names.size(); i++)
            indices.push_back(258 + (unsigned)i);
        tables["post"] = postWithNames(indices, names);
    }
    for (const auto &[tag, table] : replaced)
        if (table.empty())
            tables.erase(tag);
        else
            tables[tag] = table;
    return fontFile(version, tables);
}
