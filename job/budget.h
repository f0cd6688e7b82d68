/*
 * budget.h - what a page will cost an interpreter, added up before it is sent
 *
 * Every content is counted once, where it stands; what calls what is kept by name, in the scopes
 * that the brackets of a section make.  When a page ends, its contents are multiplied out along
 * these calls.
 */
#ifndef JOB_BUDGET_H
#define JOB_BUDGET_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace job {

/* What is counted, each up to a limit. */
enum Cost { OPERATORS, FORM_CALLS, GLYPHS, SEGMENTS, PIXELS, DECODED_BYTES, COSTS };

struct CostLimit {
    uint64_t most;    /* of a page */
    const char *what; /* "more than 20000000 operators" */
};
extern const std::array<CostLimit, COSTS> costLimits;

using Costs = std::array<uint64_t, COSTS>; /* sums stop at their largest value */

/* How often a content draws a name or sets the graphics state of that name, and how many characters
 * it shows in such a font. */
struct Calls {
    uint64_t drawn = 0, set = 0, shown = 0;
};

/* One content by itself: of a page, a form, or all glyphs of a font (the most of each). */
struct Content {
    Costs own = {};
    std::map<std::string, Calls, std::less<>> calls = {}; /* "": the font of the caller */
    int64_t lowest = 0, net = 0; /* states that are open, against the beginning */
    std::string fontAtEnd = {};

    Calls *callsOf(std::string_view name);
    void addTo(Content *sum) const;
    void raise(Content *most) const;
};

class Account {
  public:
    explicit Account(uint64_t limitsTimes = 1) : factor(limitsTimes) {}

    /* A page, or what pages share, begins. */
    void begin();
    /* Around the resources of the form or font that comes next.  False: nothing is open. */
    void openScope();
    bool closeScope();

    void defineImage(std::string_view name, uint64_t pixels, uint64_t bytes);
    void defineForm(std::string_view name, Content content);
    /* A graphics state that costs as much as so many operators each time it is set. */
    void defineState(std::string_view name, uint64_t operators);
    void defineFont(std::string_view name, Content glyphs);
    /* False: it is content, and no resource.  A part that is not there defines nothing. */
    bool useShared(std::string_view name, uint64_t part);
    /* What has been defined last is that part of what pages share. */
    void keepPart(uint64_t part);
    void defineContents(Content content);
    /* What it is, or nothing where the part is not there.  False: it is no content. */
    bool useContents(uint64_t part, const Content **content);
    void addContents(const Content &content) { content.addTo(&page); }

    /* Does anything of the page pass its limit?  What; null: nothing. */
    const CostLimit *exceeded();
    uint64_t most(Cost cost) const;
    uint64_t workFactor() const { return factor; }

  private:
    enum Progress { FRESH, BEING_ADDED, ADDED };
    enum Kind { NOTHING, IMAGE, FORM, STATE, FONT, CONTENTS };
    struct Definition {
        Kind kind = NOTHING;
        Content content = {}; /* an image has no calls */
        size_t scope = 0;     /* where it finds what it calls */
        Progress state = FRESH;
        Costs total = {};
    };
    using Names = std::map<std::string, size_t, std::less<>>;
    struct Scope {
        size_t outer = 0;
        Names drawables = {}, states = {}, fonts = {};
    };

    void define(std::string_view name, Definition definition);
    size_t find(size_t scope, std::string_view name, Names Scope::*kind) const;
    Costs totalOf(size_t definition, int depth);
    const Costs &dearestFont(int depth);
    Costs multipliedOut(const Content &content, size_t scope, int depth);

    uint64_t factor;
    std::vector<Scope> scopes = {};
    std::vector<Definition> definitions = {};
    std::map<uint64_t, Definition> parts = {};
    size_t current = 0; /* scope */
    size_t closed = 0;  /* that waits for its owner; 0: none */
    Content page = {};
    Progress fontState = FRESH;
    Costs dearest = {}; /* a character of the dearest font */
};

} // namespace job

#endif
