/*
 * cmap.h - CMaps: how the bytes of a string become codes, and codes characters of a collection or
 * text
 */
#ifndef PREPARE_FONTS_CMAP_H
#define PREPARE_FONTS_CMAP_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace prepare {

struct CodespaceRange {
    int bytes; /* 1 to 4 */
    uint32_t low, high;
};

struct CidRange {
    uint32_t low, high;
    uint32_t cid; /* of `low` */
};

struct TextRange {
    uint32_t low, high;
    std::vector<uint32_t> text; /* of `low`; the last character counts up with the code */
};

struct CMap {
    std::vector<CodespaceRange> codespace;
    std::vector<CidRange> cids;
    std::vector<TextRange> texts;
    bool isVertical = false;
    std::string base; /* name of the CMap that it continues, with slash */
};

/* Reads a CMap's text. */
CMap readCMap(std::string_view text);

/* A CMap by its name, from the data installed; with what it is based on.  False: not there. */
bool loadCMap(const std::string &name, CMap *cmap);

/* Adds what `base` has to what it is the base of. */
void addBase(CMap *cmap, const CMap &base);

/* To be called before look-ups: later definitions win over earlier ones. */
void sortCMap(CMap *cmap);

/* The next code of a string; its size in bytes, 0 at the end. */
int nextCode(const CMap &cmap, std::string_view text, uint32_t *code);

bool findCid(const CMap &cmap, uint32_t code, uint32_t *cid);

/* The text of a code; empty: none. */
std::vector<uint32_t> findText(const CMap &cmap, uint32_t code);

CMap identityCMap(bool isVertical);

} // namespace prepare

#endif
