/*
 * document.h - a document while it is prepared, and one of its pages
 *
 * Passes run over one page after the other.  What lives as long as the document is the table of
 * objects (libqpdf's), what the fonts of all pages have gathered, and the notices.
 */
#ifndef PREPARE_DOCUMENT_DOCUMENT_H
#define PREPARE_DOCUMENT_DOCUMENT_H

#include <chrono>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "prepare/document/memo.h"
#include "prepare/document/options.h"
#include "prepare/model/objects.h"
#include "prepare/model/qpdf.h"
#include "prepare/model/scope.h"
#include "prepare/model/streams.h"
#include "seam/messages.h"

namespace prepare {

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
    NEED_IMAGES = 1u << 9,      /* images of kinds that the converter does not accept */
    NEED_INLINE_IMAGES = 1u << 10,
    NEED_TRANSPARENCY = 1u << 12, /* transparent paint, and masked images */
    NEED_SUBTLE = 1u << 13,   /* if it is drawn, a renderer that knows Hue, Saturation, knockout */
    NEED_PATTERNS = 1u << 16, /* patterns and shadings in use */
    NEED_COLOURS = 1u << 17,  /* colours that the converter does not know, or prints wrong */
};

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
    std::string fault; /* what has gone wrong, so that no pass has a part in it any more */
    Usage usage;
    std::string content; /* decoded and joined, once the scan has read it */
    bool contentRead = false;
    QPDFObjectHandle contentOf; /* the /Contents that `content` is of, and will be until another is
                                 * put in its place */
    bool isContentOurs = false; /* a pass has made it */
    bool formsUseObjects = false; /* forms without resources paint objects of the page's */

    std::vector<Box> regions; /* to become pixels, in points */
    std::set<std::string> regionReasons;
    Box leftOut; /* of forms that are not painted, in points; becomes a region */
};

/* The file, and libqpdf's view of it. */
struct Source {
    std::string path;
    std::string repaired;   /* what `pdf` reads instead of the file, when not empty */
    bool isDamaged = false; /* libqpdf has warned of it, as far as anybody asked */
    QPDF pdf;
};

/* Has libqpdf met damage so far? */
bool isDamaged(Source *source);

/* What is counted over the whole document, against the bounds of those who count. */
struct Budget {
    double shadingWork = 0; /* steps and pixels */
    int failedPrograms = 0; /* other programs that were called and took too long or failed */
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

struct Diagnostics {
    seam::Notices *notices = nullptr;
};

struct Document {
    Source source;
    Options options;
    Diagnostics diagnostics;
    Budget budget;
    std::vector<Page> pages;   /* the chosen ones, each once, in the document's order */
    std::vector<size_t> order; /* the pages that are written, as indexes of `pages` */
    uint32_t needs = 0;        /* of the file itself, and of the pages looked at so far */
    int pageInWork = 0;        /* number of the page that passes are at; 0: none */
    int names = 0;             /* made by newNumber */
    Memos memos;               /* each belongs to a pass */
};

/* A number, and a name with it, that nothing else in the document has. */
int newNumber(Document *document);
std::string newName(Document *document, const std::string &prefix);

/* The numbers in the document of the pages that are written, in their order. */
std::vector<int> pageNumbers(const Document &document);

/* An entry of the page's dictionary, or null. */
QPDFObjectHandle entryOf(const Page &page, const char *key);

using seam::Message;

/* Says a message of a page (0: of the document), with the values of its places in their order.
 * The same one is there once, and of very many the worst. */
void say(Document *document, Message message, int page,
         std::initializer_list<std::string_view> values = {});

} // namespace prepare

#endif
