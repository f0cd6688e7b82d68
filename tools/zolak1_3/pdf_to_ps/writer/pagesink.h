/*
 * pagesink.h - who takes the pages that the page tree leads to
 *
 * The driver calls, for each page: beginPage, resources (where it has some), beginContents,
 * contents for each of its streams, endPage.  The exact form writes them one behind the other
 * (pages.cpp); whoever wants them otherwise is another sink.
 */
#ifndef PDF_TO_PS_PAGESINK_H
#define PDF_TO_PS_PAGESINK_H

#include <cstdint>

struct ConversionRun;
struct PageAttributes;
struct PdfDict;
struct PdfStream;

struct PageSink {
    virtual ~PageSink() = default;

    /* False: nothing of the page is wanted, and none of the others is called for it. */
    virtual bool beginPage(ConversionRun *run, const PageAttributes &attributes) = 0;

    /* The named resources of a page; and of a form or a Type 3 font, from within its own: forms and
     * fonts hold resources again, and hand them over here. */
    virtual void resources(ConversionRun *run, const PdfDict *resources) = 0;

    virtual void beginContents(ConversionRun *, const PageAttributes &) {}
    virtual void contents(ConversionRun *run, const PdfStream *stream) = 0;

    /* `isWhole` is false when one of the content streams could not be found. */
    virtual void endPage(ConversionRun *run, const PageAttributes &attributes, bool isWhole) = 0;

    /* `count` bytes of the input, from `start` on, go into the output now as they stand; with a
     * count of 0: they are through.  The input's position may be moved. */
    virtual void passThrough(ConversionRun *, uint32_t /*start*/, uint32_t /*count*/) {}

    /* The word that reads the counted bytes of a form's content. */
    virtual const char *contentReader() { return "ReadCount"; }
};

/* The sink of the exact form.  It has no state, so all runs have the same one. */
PageSink *pageWriter();

/* Hands a page over to the run's sink, piece by piece. */
void describePage(ConversionRun *run, const PageAttributes &attributes);

#endif
