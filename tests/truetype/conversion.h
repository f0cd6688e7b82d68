/*
 * conversion.h - a font through insert_ttfont, and what came out
 */
#ifndef TESTS_TRUETYPE_CONVERSION_H
#define TESTS_TRUETYPE_CONVERSION_H

#include <string>
#include <vector>

#include "tests/support/recording_controller.h"

/* An instance adopted by a controller that records; both live as long as the test. */
class RecordedInstance {
  public:
    RecordedInstance();
    ~RecordedInstance();
    RecordedInstance(const RecordedInstance &) = delete;
    RecordedInstance &operator=(const RecordedInstance &) = delete;

    operator ZelkovInstance *() const { return instance; }
    bool stopped() const { return zelkov_stopped(instance); }

    RecordingController controller;

  private:
    ZelkovInstance *instance;
};

struct FontConversion {
    std::string text;
    std::vector<std::string> reports; /* "ZOLAK:604 4 TTFONT: text" */
    bool stopped;
};

/* Converts the font file that `font` holds. */
FontConversion convertFont(const std::string &font);

/* The lines of the glyph procedure of that name, from its opening to " } bind def", each with its
 * line end; empty when there is none. */
std::string glyphProcedure(const FontConversion &conversion, const std::string &name);

/* The same without the opening, the setcachedevice line, "fill" and the end: the path alone. */
std::string glyphPath(const FontConversion &conversion, const std::string &name);

/* The 256 names of the encoding. */
std::vector<std::string> encodingNames(const FontConversion &conversion);

/* The names of the glyph procedures, in their order. */
std::vector<std::string> glyphNames(const FontConversion &conversion);

/* Does the text hold that line? */
bool hasLine(const FontConversion &conversion, const std::string &line);

#endif
