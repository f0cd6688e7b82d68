/*
 * document.h - a document while it is prepared, and one of its pages
 *
 * Passes run over one page after the other.  What lives as long as the document is the table of
 * objects (libqpdf's), what the fonts of all pages have gathered, and the notices.
 */
#ifndef PREPARE_DOCUMENT_DOCUMENT_H
#define PREPARE_DOCUMENT_DOCUMENT_H

#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "prepare/content/path.h"
#include "prepare/document/qpdf.h"
#include "prepare/prepare.h"
#include "seam/messages.h"

namespace prepare {

struct FontStore;  /* fonts/store.h */
struct Layers;     /* page/layers.cpp */
struct FlatImages; /* paint/transparency.cpp */
struct Original;   /* paint/region.cpp */

/* What a page needs; each pass looks at its own bits. */
enum Need : uint32_t {
    NEED_STRUCTURE = 1u << 0,   /* the file's form, or objects that stop the converter */
    NEED_BOXES = 1u << 1,       /* boxes, rotation or unit */
    NEED_FONTS = 1u << 2,       /* fonts that are replaced under their own codes */
    NEED_COMPOSITE = 1u << 3,   /* fonts whose show strings are rewritten */
    NEED_RESOURCES = 1u << 4,   /* unused resources that hurt */
    NEED_CONTENT = 1u << 5,     /* content that is damaged or names things badly */
    NEED_ANNOTATIONS = 1u << 6, /* annotations to be drawn */
    NEED_LAYERS = 1u << 7,      /* optional content that is off */
    NEED_NAMES = 1u << 8,       /* resources whose names cannot stand in PostScript */
    NEED_IMAGES = 1u << 9,      /* images of kinds that the converter does not take */
    NEED_INLINE_IMAGES = 1u << 10,
    NEED_TRANSPARENCY = 1u << 12, /* transparent paint, and masked images */
    NEED_PATTERNS = 1u << 16,     /* patterns and shadings in use */
    NEED_COLOURS = 1u << 17,      /* colours that the converter does not know, or prints wrong */
};

/* The kinds of resources that content names. */
enum Category { XOBJECT, FONT, EXTGSTATE, COLORSPACE, PATTERN, SHADING, PROPERTIES, CATEGORIES };

/* "/XObject" and so on. */
const char *categoryKey(int category);

/* The names that a piece of content uses, with their slash; its own resources apart from those
 * that it takes from around it. */
struct Usage {
    std::set<std::string> names[CATEGORIES];
    bool complete = true; /* false: something could not be read, so nothing may be dropped */
};

struct Page {
    QPDFObjectHandle object;
    int number = 0; /* in the document, from 1 */
    uint32_t needs = 0;
    Usage usage;
    std::string content; /* decoded and joined, once the scan has read it */
    bool contentRead = false;
    bool formsUseObjects = false; /* forms without resources paint objects of the page's */

    std::vector<Box> regions; /* to become pixels, in points */
    std::set<std::string> regionReasons;
};

/* A form as it is painted in one context, and its copy for that context. */
using FormCopyKey = std::tuple<QPDFObjGen, QPDFObjGen, QPDFObjGen, int>; /* form, font around it,
                                                                          * resources, page */
struct FormCopy {
    std::string name; /* empty: it needs no copy */
    QPDFObjectHandle form;
};

struct Document {
    std::string file;       /* its path */
    std::string mendedFile; /* what `pdf` reads instead of the file, when not empty */
    QPDF pdf;
    Options options;
    seam::Notices *notices = nullptr;
    std::vector<Page> pages; /* the chosen ones */
    uint32_t needs = 0;      /* of the file itself, and of the pages scanned so far */
    int pageInWork = 0;      /* number of the page that passes are at; 0: none */

    std::unique_ptr<FontStore, void (*)(FontStore *)> fonts{nullptr, nullptr};
    std::shared_ptr<Layers> layers;     /* null: there are none */
    std::shared_ptr<Original> original; /* the document opened again; null: not needed so far */

    /* Objects that a pass has been through, so that shared ones are done once. */
    std::set<QPDFObjGen> structured;
    std::map<std::pair<QPDFObjGen, QPDFObjGen>, Usage> scannedForms; /* by form and font around */
    std::set<QPDFObjGen> rewrittenForms;                             /* and Type 3 fonts */
    std::set<QPDFObjGen> scannedType3;
    std::set<QPDFObjGen> transparentForms; /* they paint transparent things, or masked images */
    std::set<QPDFObjGen> inheritingForms;  /* they show text in the font around them */
    std::map<QPDFObjGen, Usage> formUsage; /* of resources that belong to forms and glyphs */
    std::set<QPDFObjGen> convertedImages;
    bool formsHavePatterns = false;
    std::map<FormCopyKey, FormCopy> formCopyNames;
    std::map<std::pair<QPDFObjGen, std::string>, FormCopy> placedForms; /* by their new content */
    std::shared_ptr<FlatImages> flatImages;                             /* null: none so far */
    std::set<QPDFObjGen> flatImagesUsed, maskedImagesUsed; /* images under other names, and not */
    /* Forms of patterns' cells, by pattern and what stands before the cell; and blocks of them. */
    std::map<std::pair<QPDFObjGen, std::string>, QPDFObjectHandle> patternForms;
    std::map<std::string, QPDFObjectHandle> shadingPictures; /* small ones, by their content */
    double shadingWork = 0;                                  /* steps and pixels so far */
    int formCopies = 0;
    int uniqueNames = 0;
    int stoppedPrograms = 0; /* other programs that were called and took too long */
    std::map<std::string, std::string> plainNames; /* of resources, by their odd ones */
};

/* An entry of the page's dictionary, or null. */
QPDFObjectHandle entryOf(const Page &page, const char *key);

/* An entry of a dictionary; null of anything else. */
QPDFObjectHandle entryOf(QPDFObjectHandle object, const char *key);

/* The entries of a dictionary; none of anything else. */
std::map<std::string, QPDFObjectHandle> entriesOf(QPDFObjectHandle object);

using seam::Message;

/* Says a message of a page (0: of the document), with the values of its places in their order.
 * The same one is there once, and of very many the worst. */
void say(Document *document, Message message, int page,
         std::initializer_list<std::string_view> values = {});

/* A page met a bound of ours: it is written as it stands. */
struct LimitReached {
    std::string text;
};

/* A stream with this data, compressed; indirect. */
QPDFObjectHandle newFlateStream(QPDF *pdf, const std::string &data);

/* Puts other data into a stream, compressed. */
void replaceWithFlate(QPDFObjectHandle stream, const std::string &data);

/* Decodes a stream as far as its data goes; `damaged` is set when that is not to its end.  Throws
 * LimitReached beyond `limit` bytes. */
std::string decodeStream(QPDFObjectHandle stream, size_t limit, bool *damaged);

/* The value of a number, or what is given instead. */
double numberOr(QPDFObjectHandle object, double otherwise);
int integerOr(QPDFObjectHandle object, int otherwise);

/* The name with its slash, or nothing. */
std::string nameOr(QPDFObjectHandle object, const std::string &otherwise = "");

} // namespace prepare

#endif
