/*
 * sectionreader.h - the grammar of a section, for the files that read it
 *
 * One function for each thing that may stand there.  Each reads its own text and answers false
 * where it is any other; the first reason is kept.
 */
#ifndef JOB_SECTIONREADER_H
#define JOB_SECTIONREADER_H

#include <span>
#include <string>
#include <string_view>

#include "job/budget.h"
#include "job/content.h"
#include "job/tokens.h"
#include "job/words.h"

namespace job {

constexpr int DEEPEST = 8; /* colour spaces and halftones in each other */
constexpr int64_t MOST_OUTPUTS = 32, MOST_GLYPHS = 65536;

/* What a dictionary has said. */
struct Entries {
    uint32_t present = 0;     /* bits: rows of the table of keys */
    int64_t numbers[16] = {}; /* by row: integers, booleans; of functions and halftones, is it
                               * another one than the device's own? */
    std::string name = {};    /* the external one, or a font's */
    uint64_t components = 4;  /* of the colour space */

    bool has(size_t row) const { return present >> row & 1; }
};

/* The bytes in front of the dictionary that they belong to. */
struct Data {
    bool isThere = false, isContent = false;
    std::string name = {};
    Content content = {};
    const char *unclosed = nullptr; /* why it could not stand alone */
};

class SectionReader {
  public:
    SectionReader(Scanner *text, Account *counted) : in(*text), account(*counted), state(&page) {}

    bool readPage();
    bool readShared();
    bool readPart();

    std::string cause = {}, surplus = {};

  private:
    bool refuse(const char *why);
    bool limitPath(const ContentState &content);

    bool expect(TokenKind kind, const char *why);
    bool word(std::string_view text);
    bool literal(std::string_view bytes);
    bool name(std::string *text, size_t longest = LONGEST_RESOURCE_NAME);
    bool whole(int64_t *value, int64_t least, int64_t most);
    bool number();
    bool numbers(int64_t least, int64_t most);
    bool words(std::string_view pattern);
    int oneOf(std::span<const std::string_view> patterns);

    bool dictionary(std::span<const Key> keys, Entries *entries);
    bool value(const Key &key, Entries *entries, size_t row);
    bool differences();
    bool filters();
    bool parameters();
    bool parameterDictionary();
    bool functionNames(bool isArray);
    bool external(Entries *entries);

    bool space(uint64_t *components, int depth);
    bool spaceArray(uint64_t *components, int depth);
    bool indexed(int depth);
    bool colourTable();
    bool cieSpace();
    bool defineSpace();
    bool function();
    bool functionText();
    bool halftone(int depth);
    bool halftoneEntry(int depth);
    bool thresholds();

    bool resource(const Token &first);
    bool named();
    bool counted();
    bool data(int64_t count, std::string dataName);
    bool content(int64_t count, ContentState *reached);
    bool defineXObject(const std::string &key);
    bool defineForm(const std::string &key, const Entries &entries);
    bool defineImage(const std::string &key, const Entries &entries);
    bool stateOrFont(const std::string &key);
    bool type3(const std::string &key);
    bool glyphs(Content *most);
    bool compactFont();
    bool convertedFont();
    bool convertedInfo();
    bool convertedGlyphs();
    bool convertedGlyph();
    bool fontOrContents();
    bool placement(size_t operands, const double *values);
    bool useContents(double number);

    Scanner &in;
    Account &account;
    Data pending = {};
    Content page = {};
    ContentState state;
    bool isPage = false;
    enum { RESOURCES, PLACED, CLIPPED, MOVED, CONTENTS } phase = RESOURCES;
};

/* The value of a number; not finite where a 32-bit real cannot hold it. */
double valueOf(const Token &token);
bool isInRange(const Token &token);

} // namespace job

#endif
