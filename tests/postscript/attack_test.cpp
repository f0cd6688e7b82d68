/*
 * attack_test.cpp - documents that try to run code of their own: every place where a value of a
 * document comes near something that is executed, each as a PDF file and as page descriptions
 */
#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>

#include "tests/compress/zlib_encoder.h"
#include "tests/postscript/font_programs.h"
#include "tests/postscript/hostile_job.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/truetype/font_builder.h"

namespace {

const std::string RUN = MARKING;

/* What is put in the place of a value: in a PDF file as a name, whose bytes the converter writes as
 * they are. */
const std::string PAYLOADS[] = {
    "A " + RUN,
    "A\n" + RUN + "\n",
    "A {" + RUN + "}",
    "A {" + RUN + "} exec",
    "A {" + RUN + "} bind def",
    "A {{" + RUN + "} exec}",
    "A >> {" + RUN + "} /ColorSpace defineRes pop <<",
    "A pop {" + RUN + "} /Function defineRes pop",
    "A [ /Separation (x) /DeviceGray {" + RUN + "} ]",
    "A ] [ {" + RUN + "} dup dup dup dup ]",
    "A (" + RUN + ") cvx exec",
    "A //systemdict begin " + RUN,
    "A //Prolog begin /EndPageDescription {" + RUN + "} def",
    "A //ContentOps begin /f {" + RUN + "} bind def /re /f",
    "A //Scratch 0 (x) putinterval //SectionEnd (y) readstring",
    "A EndPageDescription\n" + RUN + "\n",
    "A EndPageDescription\nEndDocument\n" + RUN + "\n",
    "A\n>>\nCallImage\n" + RUN + "\n",
    "A 99999999 /docX ReadCount\n",
    "A pop pop 99999999 /docX ReadCount\n",
    "A pop pop 99999999 AppendCount\n",
    "A << /Length 99999999 >> PageContents\n",
    "A << /Length 99999999 >> 9 SetIndexed\n",
    "A currentfile 99999999 string readstring pop",
    "A currentfile 0 (never) /SubFileDecode filter AppendFile",
    "A 9 dict begin /CharProcs 9 dict def CharProcs begin /a {{" + RUN +
        "} concat 0 0 moveto fill} bind def end currentdict end definefont pop",
    "A 9 dict begin/CharProcs currentdict def CharProcs/C[/Separation/x/DeviceGray{/Function{"
    "(MARKER)print}}]/ColorSpace defineRes end",
    "A pop/C[/Space[/Separation/x/DeviceGray{1 0.45 div exp}]1]/ColorSpace defineRes",
    "A { {} loop }",
    "A { 0 1 0 {} for }",
    "A { 1000000000 { } repeat }",
    "A 20 dict begin /local-dict currentdict def /Sample (x) def { //local-dict begin " + RUN +
        " end } bind end",
    "A (",
    "A {",
    "A <",
    "A %",
    "A [ [ [ << <<",
    "A ] ] ] >> >>",
    "A end end end end end pop pop pop pop pop pop",
    "A /quit //quit exec quit stop",
    "A (%stdout) (w) file (MARKER) writestring",
    "A <~ ~> \x84\x92\x93\x01",
};

/* A name as a PDF file spells it. */
std::string spelled(const std::string &name)
{
    std::string text = "/";
    for (char c : name) {
        char code[4];
        snprintf(code, sizeof code, "#%02X", (unsigned char)c);
        text += isalnum((unsigned char)c) ? std::string(1, c) : code;
    }
    return text + " ";
}

const std::string USE = "q /C cs 1 scn 0 0 50 50 re f /G gs 50 0 50 50 re f 90 0 0 90 0 0 cm /X Do "
                        "Q BT /F 20 Tf 10 100 Td (Aa) Tj ET /F#20 /A cs 1 sc 0 0 9 9 re f";

/* A page for each payload, with the resources that `make` answers for it; objects that they need it
 * adds to the file.  A payload that the converter refuses takes its file with it, so that the
 * others get one of their own then. */
template <typename Make> void attack(const char *sink, Make make)
{
    SCOPED_TRACE(sink);
    HostileJob job;
    auto addPage = [&make](PdfBuilder &pdf, const std::string &payload) {
        std::string resources = make(pdf, payload);
        pdf.addPage("/MediaBox [0 0 200 200] /Resources << " + resources + " >> /Contents " +
                    ref(pdf.addStream("", USE)));
    };
    PdfBuilder together;
    for (const std::string &payload : PAYLOADS)
        addPage(together, payload);
    if (!job.addPdf("all payloads", together.build()))
        for (const std::string &payload : PAYLOADS) {
            PdfBuilder pdf;
            addPage(pdf, payload);
            job.addPdf(payload, pdf.build());
        }
    EXPECT_GE(job.size(), 1U) << "the converter refuses these";
    job.expectHarmless();
}

const std::string SAMPLED = "/FunctionType 0 /Domain [0 1] /Range [0 1] /Size [2] "
                            "/BitsPerSample 8 ";
const std::string TWO_SAMPLED = "/FunctionType 0 /Domain [0 1 0 1] /Range [0 1] /Size [2 2] "
                                "/BitsPerSample 8 ";

TEST(HostileDocuments, ColourSpaces)
{
    attack("resource name", [](PdfBuilder &, const std::string &p) {
        return "/ColorSpace << " + spelled(p) + "/DeviceRGB >>";
    });
    attack("name of another space", [](PdfBuilder &, const std::string &p) {
        return "/ColorSpace << /C " + spelled(p) + ">>";
    });
    attack("base of an indexed space", [](PdfBuilder &, const std::string &p) {
        return "/ColorSpace << /C [/Indexed " + spelled(p) + "1 (abcdef)] >>";
    });
    attack("keys of a lookup stream", [](PdfBuilder &pdf, const std::string &p) {
        int table = pdf.addStream(spelled(p) + "/x", "abcdef");
        return "/ColorSpace << /C [/Indexed /DeviceRGB 1 " + ref(table) + "] >>";
    });
    attack("data of a lookup stream", [](PdfBuilder &pdf, const std::string &p) {
        return "/ColorSpace << /C [/Indexed /DeviceRGB 1 " + ref(pdf.addStream("", p)) + "] >>";
    });
    attack("lookup string", [](PdfBuilder &, const std::string &p) {
        std::string hex;
        for (char c : p) {
            char code[3];
            snprintf(code, sizeof code, "%02X", (unsigned char)c);
            hex += code;
        }
        return "/ColorSpace << /C [/Indexed /DeviceRGB 1 <" + hex + ">] >>";
    });
    attack("numbers of a CIE space", [](PdfBuilder &, const std::string &p) {
        return "/ColorSpace << /C [/CalRGB << /WhitePoint [1 1 " + spelled(p) + "] /Matrix [" +
               spelled(p) + " 0 0 0 1 0 0 0 1] >>] >>";
    });
    attack("range of a Lab space", [](PdfBuilder &, const std::string &p) {
        return "/ColorSpace << /C [/Lab << /WhitePoint [1 1 1] /Range [" + spelled(p) + spelled(p) +
               "1 1] >>] >>";
    });
    attack("underlying space of a pattern", [](PdfBuilder &, const std::string &p) {
        return "/ColorSpace << /C [/Pattern " + spelled(p) + "] >>";
    });
}

TEST(HostileDocuments, FunctionsAndTints)
{
    attack("ink", [](PdfBuilder &pdf, const std::string &p) {
        return "/ColorSpace << /C [/Separation " + spelled(p) + "/DeviceGray " +
               ref(pdf.addStream(SAMPLED, "ab")) + "] >>";
    });
    attack("alternate space", [](PdfBuilder &pdf, const std::string &p) {
        return "/ColorSpace << /C [/Separation /x " + spelled(p) +
               ref(pdf.addStream(SAMPLED, "ab")) + "] >>";
    });
    attack("samples", [](PdfBuilder &pdf, const std::string &p) {
        return "/ColorSpace << /C [/Separation /x /DeviceGray " + ref(pdf.addStream(SAMPLED, p)) +
               "] >>";
    });
    attack("samples behind a filter", [](PdfBuilder &pdf, const std::string &p) {
        std::string function = ref(
            pdf.addStream(SAMPLED + "/Filter /ASCIIHexDecode", "4142>\npop\n20 dict begin\n" + p));
        return "/ColorSpace << /C [/Separation /x /DeviceGray " + function +
               "] >> /ExtGState << "
               "/G << /TR " +
               function + " >> >>";
    });
    attack("parameters of its filter", [](PdfBuilder &pdf, const std::string &p) {
        return "/ColorSpace << /C [/Separation /x /DeviceGray " +
               ref(pdf.addStream(SAMPLED + "/Filter /ASCIIHexDecode /DecodeParms << " + spelled(p) +
                                     "1 >>",
                                 "4142>")) +
               "] >>";
    });
}

TEST(HostileDocuments, GraphicsStates)
{
    attack("resource name", [](PdfBuilder &pdf, const std::string &p) {
        std::string function = ref(pdf.addStream(SAMPLED, "ab"));
        return "/ExtGState << " + spelled(p) + "<< /SA true /TR " + function + " /BG " + function +
               " /HT << /HalftoneType 1 /Frequency 60 /Angle 0 /SpotFunction " +
               ref(pdf.addStream(TWO_SAMPLED, "abcd")) + " >> >> >>";
    });
    for (const char *key : {"/TR", "/BG", "/UCR", "/HT", "/SA", "/OP", "/HTP"})
        attack(key, [key](PdfBuilder &, const std::string &p) {
            return "/ExtGState << /G << " + std::string(key) + " " + spelled(p) + ">> >>";
        });
    attack("transfer functions", [](PdfBuilder &, const std::string &p) {
        return "/ExtGState << /G << /TR [/Identity " + spelled(p) + spelled(p) + spelled(p) +
               "] >> >>";
    });
    for (const char *key :
         {"/Frequency", "/Angle", "/SpotFunction", "/TransferFunction", "/AccurateScreens"})
        attack(key, [key](PdfBuilder &, const std::string &p) {
            return "/ExtGState << /G << /HT << /HalftoneType 1 /Frequency 60 /Angle 0 "
                   "/SpotFunction /Round " +
                   std::string(key) + " " + spelled(p) + ">> >> >>";
        });
    attack("thresholds", [](PdfBuilder &pdf, const std::string &p) {
        return "/ExtGState << /G << /HT " +
               ref(pdf.addStream("/HalftoneType 6 /Width 2 /Height 2 /TransferFunction " +
                                     spelled(p) + "/DecodeParms << " + spelled(p) + "1 >>",
                                 p)) +
               " >> >>";
    });
    attack("colours of a halftone", [](PdfBuilder &, const std::string &p) {
        return "/ExtGState << /G << /HT << /HalftoneType 5 /Default << /HalftoneType 1 "
               "/Frequency " +
               spelled(p) + ">> /Cyan " + spelled(p) + ">> >> >>";
    });
}

TEST(HostileDocuments, ImagesAndForms)
{
    for (const char *kind :
         {"/Image /Width 1 /Height 1 /BitsPerComponent 8", "/Form /BBox [0 0 9 9]"}) {
        attack("resource name", [kind](PdfBuilder &pdf, const std::string &p) {
            return "/XObject << " + spelled(p) +
                   ref(pdf.addStream("/Subtype " + std::string(kind), "0 0 9 9 re f")) + " >>";
        });
        attack("data", [kind](PdfBuilder &pdf, const std::string &p) {
            return "/XObject << /X " + ref(pdf.addStream("/Subtype " + std::string(kind), p)) +
                   " >>";
        });
        for (const char *key : {"/DecodeParms", "/Matrix", "/BBox", "/Decode", "/Width", "/Height",
                                "/BitsPerComponent", "/Interpolate", "/ImageMask", "/Intent",
                                "/ColorSpace", "/FormType", "/XUID"})
            attack(key, [kind, key](PdfBuilder &pdf, const std::string &p) {
                std::string entries = "/Subtype " + std::string(kind) + " ";
                size_t old = entries.find(std::string(key) + " ");
                if (old != std::string::npos)
                    entries.erase(old, entries.find('/', old + 1) - old);
                bool array = std::string("/Matrix /BBox /Decode").find(key) != std::string::npos;
                entries += std::string(key) + (array ? " [1 0 " : " ") + spelled(p) +
                           (array ? "1 0 0]" : "");
                if (std::string(key) == "/DecodeParms")
                    entries += "/Filter /ASCIIHexDecode /DecodeParms << " + spelled(p) + "1 >>";
                return "/XObject << /X " + ref(pdf.addStream(entries, "40>")) + " >>";
            });
    }
}

TEST(HostileDocuments, Fonts)
{
    const std::string type3 = "/Type /Font /Subtype /Type3 /FontBBox [0 0 1 1] ";
    const std::string matrix = "/FontMatrix [1 0 0 1 0 0] ";
    const std::string type1 = "/Type /Font /Subtype /Type1 /BaseFont /Helvetica ";
    attack("resource name", [&](PdfBuilder &, const std::string &p) {
        return "/Font << " + spelled(p) + "<< " + type1 + ">> >>";
    });
    attack("base font", [&](PdfBuilder &, const std::string &p) {
        return "/Font << /F << /Type /Font /Subtype /Type1 /BaseFont " + spelled(p) + ">> >>";
    });
    attack("encoding", [&](PdfBuilder &, const std::string &p) {
        return "/Font << /F << " + type1 + "/Encoding " + spelled(p) + ">> >>";
    });
    attack("base encoding and differences", [&](PdfBuilder &, const std::string &p) {
        return "/Font << /F << " + type1 + "/Encoding << /BaseEncoding " + spelled(p) +
               "/Differences [65 " + spelled(p) + "66 " + spelled(p) + "] >> >> >>";
    });
    attack("glyph names of a Type 3 font", [&](PdfBuilder &pdf, const std::string &p) {
        return "/Font << /F << " + type3 + matrix + "/CharProcs << " + spelled(p) +
               ref(pdf.addStream("", "9 0 d0")) + " >> /Encoding << /Differences [65 " +
               spelled(p) + "/a] >> >> >>";
    });
    attack("glyph content", [&](PdfBuilder &pdf, const std::string &p) {
        return "/Font << /F << " + type3 + matrix + "/CharProcs << /a " +
               ref(pdf.addStream("", "9 0 d0 " + p)) + " /b " +
               ref(pdf.addStream("", "9 0 d0\n restore }\n" + p +
                                         "\n>>\nT3DefFnct\n>> definefont "
                                         "pop\n" +
                                         p)) +
               " /c " + ref(pdf.addStream("", "9 0 d0\n restore }\n/A {" + p + "\n")) +
               " >> /Encoding << /Differences [65 /a 97 /b] >> >> >>";
    });
    attack("matrix and box of a Type 3 font", [&](PdfBuilder &pdf, const std::string &p) {
        return "/Font << /F << /Type /Font /Subtype /Type3 /FontBBox [0 0 " + spelled(p) +
               "1] /FontMatrix [1 0 " + spelled(p) + "1 0 0] /CharProcs << /a " +
               ref(pdf.addStream("", "9 0 d0")) + " >> >> >>";
    });
    attack("keys of a font program", [&](PdfBuilder &pdf, const std::string &p) {
        std::string one = ref(pdf.addStream("/Filter /ASCIIHexDecode " + spelled(p) + "1 ", "41>"));
        std::string compact = ref(pdf.addStream("/Subtype /Type1C " + spelled(p) + "1 ", "abc"));
        return "/Font << /F << " + type1 + "/FontDescriptor << /Flags 32 /FontFile " + one +
               " /FontFile3 " + compact + " /CharSet (" + "x" + ") >> >> >>";
    });
    attack("compact font program", [&](PdfBuilder &pdf, const std::string &p) {
        std::string program = compactProgram("Name", sampleGlyphs());
        program.replace(program.find("Name"), 4, p.substr(0, 4));
        return "/Font << /F << " + type1 + "/FontDescriptor << /FontFile3 " +
               ref(pdf.addStream("/Subtype /Type1C", program)) + " /CharSet " + "(/a/b)" +
               " >> >> >>";
    });
}

/* The outlines of a converted font are data, whatever else a page takes them for. */
TEST(HostilePages, OutlinesAreNeverProcedures)
{
    const std::string accepted = "/Function {" + RUN + "}", decode = "/Decode {" + RUN + "}";
    auto outline = [](const std::string &name, const std::string &text) {
        return "/" + name + " { % 36 - U+0041\n" + text + "\n } bind def\n";
    };
    HostileJob job;
    job.add("a halftone",
            pageDescription("/G gs 0.5 g 0 0 90 90 re f",
                            "9 dict begin\n/CharProcs 9 dict def\nCharProcs begin\n" +
                                outline("HalftoneType", "1") + outline("SpotFunction", accepted) +
                                "end\n/G << /HT CharProcs >> /ExtGState defineRes pop end\n"));
    for (const std::string &mark : {accepted, decode})
        job.add(
            "its own glyph table",
            pageDescription("/G gs /C cs 1 scn 0 0 90 90 re f /D cs 1 scn 0 0 90 90 re f",
                            "9 dict begin /CharProcs currentdict def CharProcs pop\n"
                            "/HalftoneType 1 def /Frequency 60 def /Angle 0 def /SpotFunction {" +
                                mark + "} def\n/DecodeA {" + mark +
                                "} def /WhitePoint [1 1 1] def\n/HT currentdict def\n"
                                "/G currentdict /ExtGState defineRes pop\n"
                                "/D [ /CIEBasedA currentdict ] /ColorSpace defineRes pop\n"
                                "/C [ /Separation (x) /DeviceGray /ColorSpace findRes {" +
                                mark + "} ] /ColorSpace defineRes pop end\n"));
    job.expectHarmless();
}

TEST(HostileDocuments, ContentInClear)
{
    HostileJob job;
    PdfBuilder together;
    for (const std::string &payload : PAYLOADS) {
        PdfBuilder pdf;
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(pdf.addStream("", payload)));
        EXPECT_TRUE(job.addPdf(payload, pdf.build(), {"-DECODE"}));
        together.addPage("/MediaBox [0 0 200 200] /Contents " +
                         ref(together.addStream("", payload)));
    }
    EXPECT_TRUE(job.addPdf("all payloads", together.build()));
    job.expectHarmless();
}

/* ---- page descriptions, written by hand: the payload in every place of the converter's texts */

const char *const TEXTS[] = {
    "/C\n/DeviceRGB /ColorSpace findRes\n@\n/ColorSpace defineRes pop\n",
    "/C\n[/Indexed /DeviceRGB /ColorSpace findRes\n@ 1 (abcdef)  ]\n/ColorSpace defineRes pop\n",
    "/C\n[/Indexed /DeviceRGB /ColorSpace findRes\n1 <<\n/Length 6 \n@\n>>\n6 SetIndexed\nabcdef\n"
    " ]\n/ColorSpace defineRes pop\n",
    "/C\n[/CIEBasedA <<\n/WhitePoint [ 1 1 1 @ ] \n/MatrixA [0.9505 1 1.089]\n/DecodeA @\n"
    "/RangeLMN [0 0.9505 0 1 0 1.089]\n>> ]\n/ColorSpace defineRes pop\n",
    "/C\n[/CIEBasedABC <<\n/DecodeLMN [@ dup dup]\n/DecodeABC [{1 0.45 div exp} bind dup @]\n"
    "/MatrixLMN @ /WhitePoint [ 1 1 1 ] \n>> ]\n/ColorSpace defineRes pop\n",
    "/C\n[ /Separation (x) /DeviceGray /ColorSpace findRes\n@ ]\n/ColorSpace defineRes pop\n",
    "/C\n[ /Separation (x) /DeviceGray /ColorSpace findRes\ncurrentfile\n2 string readstring\nab\n"
    "pop\n20 dict begin\n/local-dict currentdict def\n@\n/Sample exch def\n{//local-dict begin\n"
    "@ end\n} bind end\n ]\n/ColorSpace defineRes pop\n",
    "/C\n[ /Separation (x) /DeviceGray /ColorSpace findRes\ncurrentfile\n<<\n/Filter "
    "/ASCIIHexDecode \n@\n>> begin SetFilter end\n2 string readstring\n4142>\npop\n20 dict begin\n"
    "/local-dict currentdict def\n/Sample exch def\n{@} bind end\n ]\n/ColorSpace defineRes pop\n",
    "/GTR @ /Function defineRes pop\n/G <<\n/TR /GTR @\n/BG /GTR\n/UCR @\n>> /ExtGState defineRes "
    "pop\n",
    "/G <<\n/HT << \n/HalftoneType 1 \n/Frequency @ 60 \n/Angle 0 \n/SpotFunction @\n"
    "/TransferFunction @\n>> \n>> /ExtGState defineRes pop\n",
    "/G <<\n/HT << \n/HalftoneType 6 \n/Width 2 \n/Height 2 \n4 /GHalftone AddCreatedFile ReadCount"
    "\nabcd\n/Thresholds (GHalftone) (r) file <<\n@\n>> begin SetFilter end\n>> \n>> /ExtGState "
    "defineRes pop\n",
    "4 @ /docX ReadCount\nabcd\n/X\n<<\n/ExternName (docX)\n/Width 2 \n/Height @ 2 \n"
    "/BitsPerComponent 8 \n/ColorSpace @ /Decode [@] >>\nCallImage\n",
    "4 /docX ReadCount\nabcd\n/X\n<<\n/ExternName @\n/Pieces [ @ ]\n/Stream @\n/Form @\n"
    "/BBox [ 0 0 @ 9 ] \n/Matrix [ 1 0 0 1 0 @ ] \n/Busy @\n/Owner @\n>>\nCallForm\n",
    "<<\n/Name /F\n/BaseFont /Helvetica \n/Widths [ @ 1 2 3 ]\n/UseStandardEncoding @\n"
    "/BaseEncoding @\n/Differences [ 65 @ ] \n >> AdjFont\n",
    "/F <<\n/FontType 3\n/FontMatrix [ 1 0 0 1 0 0 ] \n@\n<<\n/Differences [ 65 /a @ ] \n>> "
    "T3AdjEnc\n/CharProcs <<\n/.notdef {250 0 d0}\n/a { save\n9 0 d0 @\n restore }\n@\n>>\n"
    "T3DefFnct\n@\n>> definefont pop\n",
    "/F <<\n/FontType 3\n/Owner @\n/Encoding [ @ ]\n/CharProcs << /a @ >>\n>> definefont pop\n",
    "/TT \n%!PS-Adobe-3.0 Resource-Font\n20 dict begin\n/FontType 3 def\n/FontName (x) def\n@\n"
    "/FontMatrix [0.001 0 0 0.001 0 0] def\n/FontBBox [0 0 1 1] def\n/Encoding [\n/A @ /a ] def\n"
    "/CharProcs 3 dict def CharProcs begin\n/.notdef { 500 0 0 0 9 9 setcachedevice @ } bind def\n"
    "/A { 500 0 0 0 9 9 setcachedevice 0 0 moveto {@} concat 9 9 lineto @ fill } bind def\n"
    "/a @ bind def\nend\n/BuildGlyph {@} bind def\n/BuildChar @ bind def\ncurrentdict end "
    "definefont pop\n<<\n/Name /F\n/BaseFont /TT \n >> AdjFont\n",
    "3 AppendCount\nabc\n@\nExecFontFile\n<<\n/Name /F\n/BaseFont /X @\n >> AdjFont\n",
    "(@)\n3 AppendCount\nabc\n<<\n/Length @ 3 \n>>\nExecType1C\n<<\n/Name /F\n >> AdjFont\n",
    "currentfile 1 (@) /SubFileDecode filter AppendFile\ncleartomark\n",
};

TEST(HostilePages, PayloadsInEveryPlaceOfAText)
{
    for (const char *text : TEXTS) {
        SCOPED_TRACE(text);
        HostileJob job;
        for (const std::string &payload : PAYLOADS)
            for (const std::string &form :
                 {payload, "{" + payload + "}", payload.substr(2), "{" + payload.substr(2) + "}"}) {
                std::string whole = text;
                for (size_t at = 0; (at = whole.find('@', at)) != std::string::npos;
                     at += form.size())
                    whole.replace(at, 1, form);
                job.add(form, pageDescription(USE, whole));
            }
        job.expectHarmless();
    }
}

/* ---- what takes too long */

/* A form's text. */
std::string form(const std::string &name, const std::string &content,
                 const std::string &entries = "")
{
    return std::to_string(content.size()) + " /doc" + name + " ReadCount\n" + content + "\n/" +
           name + "\n<<\n/ExternName (doc" + name + ")\n/BBox [ 0 0 200 200 ] \n" + entries +
           "\n>>\nCallForm\n";
}

std::string glyphFont(const std::string &content)
{
    return "/F <<\n/FontType 3\n/FontMatrix [ 1 0 0 1 0 0 ] \n/FontBBox [ 0 0 1 1 ] \n<<\n"
           "/Differences [ 65 /a ] \n>> T3AdjEnc\n/CharProcs <<\n/.notdef {250 0 d0}\n/a { save\n" +
           content + "\n restore }\n>>\nT3DefFnct\n>> definefont pop\n";
}

TEST(HostilePages, NothingGoesRoundForEver)
{
    HostileJob job;
    std::string chain = form("Z", "0 0 1 1 re f");
    std::string last = "Z";
    for (int i = 0; i < 30; i++) {
        std::string name = "Z" + std::to_string(i);
        chain += form(name, "/" + last + " Do /" + last + " Do");
        last = name;
    }
    job.add("forms that each call the next one twice", pageDescription("/" + last + " Do", chain));
    job.add("a form that calls itself", pageDescription("/Z Do", form("Z", "/Z Do /Z Do")));
    job.add(
        "a glyph that shows itself",
        pageDescription("BT /F 9 Tf (A) Tj ET", glyphFont("9 0 d0 BT /F 1 Tf (AAAAAAAAAA) Tj ET")));
    job.add(
        "a glyph with a form that shows it",
        pageDescription("BT /F 9 Tf (A) Tj ET", glyphFont("9 0 d0 /Z Do /Z Do") +
                                                    form("Z", "BT /F 1 Tf (AAAAAAAAAA) Tj ET")));
    job.add("millions of glyphs",
            pageDescription("/Z Do /Z Do /Z Do",
                            form("Y", "BT /F 9 Tf (" + std::string(60000, 'A') + ") Tj ET") +
                                form("Z", [] {
                                    std::string calls;
                                    for (int i = 0; i < 9000; i++)
                                        calls += "/Y Do ";
                                    return calls;
                                }())));
    std::string memory, opened = "/A (x) (r) file pop\n";
    for (int i = 0; i < 20000; i++) {
        memory += "4000 dict pop ";
        opened += "currentfile 0 (x) /SubFileDecode filter pop ";
    }
    job.add("memory", pageDescription(USE, memory));
    job.add("files", pageDescription(USE, opened));
    std::string name = "/A";
    for (int i = 0; i < 100000; i++)
        name += " b";
    job.add("a name that grows", pageDescription(USE, name));
    std::string filters;
    for (int i = 0; i < 50000; i++)
        filters += "/ASCIIHexDecode ";
    job.add("filters on filters",
            pageDescription("/X Do", "1 /docX ReadCount\n>\n/X\n<<\n/ExternName (docX)\n/Width 1 \n"
                                     "/Height 1 \n/BitsPerComponent 8 \n/Filter [ " +
                                         filters + "] \n>>\nCallImage\n"));
    job.add("a spot function for a screen as large as the page",
            pageDescription("/G gs 0.5 g 0 0 200 200 re f",
                            "/G <<\n/HT << \n/HalftoneType 1 \n/Frequency 0.001 \n/Angle 45 \n"
                            "/SpotFunction /Round /Function findRes\n>> \n>> /ExtGState defineRes "
                            "pop\n"));
    std::string calls;
    for (int i = 0; i < 2000; i++)
        calls += "/Z Do ";
    job.add("gigabytes of blanks",
            pageDescription(calls, form("Z", encodeFlate(encodeFlate(std::string(50'000'000, ' '))),
                                        "/Filter [ /FlateDecode /FlateDecode ] ")));
    job.add("a page of a size that does not exist",
            "BeginPageDescription\n<< /PageSize [ [ 1 ] (x) ] >> setpagedevice\n0 0 translate\n"
            "0 rotate\nEndPageDescription\n");
    job.expectHarmless();
}

/* ---- font programs
 *
 * An embedded Type 1 program is PostScript and runs.  What it does ends with its page. */

/* A page whose font is this program, in clear text. */
std::string programPage(const std::string &program)
{
    return pageDescription("BT /F 20 Tf 10 100 Td (Aa) Tj ET",
                           std::to_string(program.size()) + " AppendCount\n" + program +
                               "\nExecFontFile\n<<\n/Name /F\n/BaseFont /Bad \n >> AdjFont\n");
}

const char *const PROGRAMS[] = {
    "/f {} def /re {} def systemdict /f {} put",
    "userdict /showpage {} put userdict /f {} put globaldict /f {} put",
    "true setglobal globaldict begin /showpage {} def /moveto {} def /restore {} def end",
    "true setglobal userdict /Helvetica undefinefont /Helvetica /Times-Roman findfont definefont",
    "true setglobal /Helvetica 10 dict dup begin /FontType 3 def /FontMatrix [1 0 0 1 0 0] def "
    "/FontBBox [0 0 1 1] def /Encoding StandardEncoding def /BuildChar { pop pop 0 0 setcharwidth "
    "} "
    "def end definefont pop",
    "/Helvetica findfont /CharStrings get { pop dup 0 (xxxxxxxx) putinterval } stopped pop",
    "clear cleardictstack 1000 { null } repeat 100 { 9 dict begin } repeat",
    "end end end end end end end end end end",
    "save save save",
    "save restore",
    "grestoreall initgraphics nulldevice",
    "gsave gsave gsave 0 setgray clippath fill",
    "$error /errorname [ (x) ] put stop",
    "errordict { pop errordict exch {} put } forall",
    "stop",
    "exit",
    "1 0 div",
    "{ { exit } loop exit } loop",
    "true setpacking 1 setobjectformat true setglobal",
    "{pop} settransfer {dup mul} setblackgeneration",
    "{ currentdict /SectionEnd known { SectionEnd 0 (x) putinterval } if } stopped",
    "Prolog /Errors (x) put Prolog /PageOps 9 dict put Prolog /Frames [ ] put",
    "/EndPageDescription {} def /ReadPage {} def /UseDicts {} def",
    "currentfile closefile",
    "currentfile flushfile",
    "<< /PageSize [ 50 50 ] >> setpagedevice",
    "<< /EndPage { pop pop false } /BeginPage { pop } >> setpagedevice",
    "copypage erasepage",
    "9 1 roll pop pop pop pop pop pop pop pop pop pop pop pop pop pop pop pop pop pop pop pop",
    "(x) /a /b 9 [ ] << >> mark null true",
};

TEST(FontPrograms, ChangeNothingBehindTheirPage)
{
    /* Text in a font of the interpreter, which a program may have touched. */
    const std::string text =
        pageDescription("BT /H 60 Tf 10 100 Td (Hxg) Tj ET 0 0 1 rg 10 10 50 50 re f",
                        "<<\n/Name /H\n/BaseFont /Helvetica \n >> AdjFont\n");
    PrintOptions options;
    options.strict = options.probe = options.safer = false;
    std::vector<Picture> wanted = printPages(text, options).pages;
    ASSERT_EQ(wanted.size(), 1U);
    for (bool first : {true, false}) {
        std::string pages = first ? "" : text;
        for (const char *program : PROGRAMS)
            pages += programPage(program) + text;
        PrintedJob job = printPages(pages, options);
        EXPECT_EQ(job.status, 0);
        size_t right = 0;
        for (const Picture &page : job.pages)
            right += isRight(comparePictures(page, wanted[0])) ? 1 : 0;
        EXPECT_EQ(right, std::size(PROGRAMS) + (first ? 0 : 1));
        for (const std::string &line : job.lines)
            EXPECT_EQ(line.find("Error: "), std::string::npos) << line;
    }
    for (const char *program : PROGRAMS) {
        PrintedJob job = printPages(programPage(program) + text, options);
        ASSERT_FALSE(job.pages.empty()) << program;
        EXPECT_TRUE(isRight(comparePictures(job.pages.back(), wanted[0]))) << program;
        EXPECT_EQ(job.status, 0) << program;
    }
}

} // namespace
