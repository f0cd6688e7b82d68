/*
 * generator.h - documents drawn at random: colour spaces, patterns, groups, alpha, forms in forms
 *
 *     GeneratedDocument document;
 *     std::string traits = document.addPage(4711);
 *     std::string bytes = document.build();
 *
 * A page depends on its seed alone.  Names of resources are counted anew in each form, so that one
 * name means another thing in each; forms set what they paint with, or inherit it.
 */
#ifndef TESTS_GENERATED_GENERATOR_H
#define TESTS_GENERATED_GENERATOR_H

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>

#include "tests/support/pdf_builder.h"

class GeneratedDocument {
  public:
    GeneratedDocument();

    /* Adds a page of 200 by 200 points; answers words for what it has, in alphabetical order. */
    std::string addPage(uint32_t seed);

    std::string build() { return pdf.build(); }

  private:
    /* What is being written: the page, a form, the cell of a pattern. */
    struct Scope {
        int depth = 0;
        std::map<std::string, std::string> resources; /* entries of each category */
        std::string content;
        int names = 0;
        int components =
            1; /* of a colour in the space that is selected for filling; 0: a pattern */
    };

    int below(int count) { return (int)(random() % (uint32_t)count); }
    bool oneIn(int count) { return below(count) == 0; }
    std::string tenths(int count);
    std::string coordinate(int lowest, int highest);
    std::string name(Scope *scope, const std::string &category, const std::string &value);
    static std::string resourcesOf(const Scope &scope);

    std::string colourFunction();
    std::string shading();
    static void setComponents(Scope *scope, bool stroke, int count);
    void setDeviceColour(Scope *scope, bool stroke);
    void setSpaceColour(Scope *scope, bool stroke);
    void setPattern(Scope *scope, bool stroke);
    void setColour(Scope *scope, bool stroke);
    void setAlpha(Scope *scope);
    void setState(Scope *scope);
    void inherit(Scope *form);
    std::string rectangle();
    void paint(Scope *scope);
    void paintForm(Scope *scope);
    void step(Scope *scope);
    int tilingCell(const Scope &scope, bool coloured);

    PdfBuilder pdf;
    std::mt19937 random;
    std::set<std::string> traits;
    bool hasInks =
        false; /* CMYK, and no alpha: it is the device that would say how to blend them */
    int profile, font;
};

#endif
