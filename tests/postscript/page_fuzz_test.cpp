/*
 * page_fuzz_test.cpp - random page descriptions through the prolog: what the converter writes, cut,
 * joined and mixed with tokens that try to run code, and content made of random operators
 *
 * Each page has the number of its seed, so that one that fails can be made again.  How many there
 * are says the environment variable PAGE_FUZZ; without it some hundred.
 */
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "tests/postscript/hostile_job.h"

namespace {

constexpr size_t PAGES_OF_A_JOB = 100;
constexpr int SHARES = 8;

class PageGrammar {
  public:
    explicit PageGrammar(uint32_t seed) : random(seed) {}

    std::string page()
    {
        std::string resources;
        for (int i = below(6); i >= 0; i--)
            resources += mutated(resource());
        std::string text = "BeginPageDescription\n" + resources;
        if (below(12))
            text += "<< /PageSize [ 200 200 ] >> setpagedevice\n";
        if (below(20))
            text += "0 0 translate\n";
        if (below(20))
            text += "0 rotate\n";
        for (int i = below(3); i >= 0; i--) {
            std::string data = content(40);
            size_t length = below(15) ? data.size() : (size_t)below(100000);
            text += below(8) ? "<<\n/Length " + std::to_string(length) + " \n" +
                                   (below(6) ? "" : "/Filter " + any(FILTERS) + "\n") +
                                   ">>\nPageContents\n" + data + "\n"
                             : data;
        }
        /* The converter ends every page; what a document can change lies before that. */
        return (below(4) ? text : mutated(text)) + "EndPageDescription\n";
    }

  private:
    int below(int bound) { return (int)(random() % (uint32_t)bound); }

    template <size_t N> std::string any(const char *const (&list)[N])
    {
        return list[below((int)N)];
    }

    std::string number()
    {
        switch (below(8)) {
        case 0:
            return std::to_string((int)random());
        case 1:
            return std::to_string(below(2000000) / 1000.0 - 1000);
        case 2:
            return any(ODD_NUMBERS);
        default:
            return std::to_string(below(300) - 20);
        }
    }

    std::string name() { return "/" + any(NAMES); }

    std::string value(int depth = 0)
    {
        std::string text;
        switch (below(depth > 3 ? 5 : 9)) {
        case 0:
            return name();
        case 1:
            return "(" + any(NAMES) + ")";
        case 2:
            return any(HOSTILE);
        case 5:
            for (int i = below(5); i >= 0; i--)
                text += value(depth + 1) + " ";
            return "[ " + text + "]";
        case 6:
            for (int i = below(4); i >= 0; i--)
                text += name() + " " + value(depth + 1) + "\n";
            return "<< " + text + ">>";
        case 7:
            for (int i = below(6); i >= 0; i--)
                text += (below(3) ? any(WORDS) : value(depth + 1)) + " ";
            return "{ " + text + "}";
        default:
            return number();
        }
    }

    std::string resource()
    {
        std::string key = name(), data = below(2) ? "abcdefgh" : content(8);
        std::string stored = std::to_string(data.size()) + " /doc" + key.substr(1) +
                             " ReadCount\n" + data + "\n" + key + "\n<<\n/ExternName (doc" +
                             key.substr(1) + ")\n";
        switch (below(9)) {
        case 0:
            return key + "\n" + value() + "\n/ColorSpace defineRes pop\n";
        case 1:
            return key + "\n[/Indexed " + name() + " /ColorSpace findRes\n" + number() +
                   " (abcdef)  ]\n/ColorSpace defineRes pop\n";
        case 2:
            return key + " <<\n/SA " + value() + "\n/TR " + value() + "\n/HT << \n/HalftoneType " +
                   std::to_string(below(12)) + " \n/Frequency " + number() +
                   " \n/Angle 0 \n/SpotFunction " + value() +
                   "\n>> \n>> /ExtGState defineRes pop\n";
        case 3:
            return stored + "/Width " + number() + " \n/Height " + number() +
                   " \n/BitsPerComponent 8 \n/ColorSpace " + value() + "\n/Decode " + value() +
                   "\n>>\nCallImage\n";
        case 4:
            return stored + "/BBox [ 0 0 200 200 ] \n/Matrix " + value() + "\n>>\nCallForm\n";
        case 5:
            return "<<\n/Name " + key + "\n/BaseFont " + name() + " \n/Widths [ " + value() +
                   " ]\n/BaseEncoding /WinAnsiEncoding\n/Differences [ 65 " + value() +
                   " ]\n >> AdjFont\n";
        case 6:
            return key +
                   " <<\n/FontType 3\n/FontMatrix [ 1 0 0 1 0 0 ] \n/FontBBox [ 0 0 1 1 ] \n"
                   "<<\n/Differences [ 65 /a ] \n>> T3AdjEnc\n/CharProcs <<\n/.notdef {250 0 "
                   "d0}\n/a { save\n" +
                   content(10) + "\n restore }\n>>\nT3DefFnct\n>> definefont pop\n";
        case 7:
            return key +
                   " \n20 dict begin\n/FontType 3 def\n/FontMatrix [0.001 0 0 0.001 0 0] def\n"
                   "/FontBBox [0 0 1 1] def\n/Encoding StandardEncoding def\n/CharProcs 3 dict "
                   "def CharProcs begin\n/A { 500 0 0 0 9 9 setcachedevice " +
                   value() + " 0 0 moveto " + any(WORDS) + " 9 9 lineto " + value() +
                   " concat fill } bind def\nend\ncurrentdict end definefont pop\n<<\n/Name " +
                   key + "\n/BaseFont /TT \n >> AdjFont\n";
        default:
            return key +
                   " currentfile\n2 string readstring\nab\npop\n20 dict begin\n/local-dict "
                   "currentdict def\n/Sample exch def\n{//local-dict begin " +
                   value() + " " + any(WORDS) + " end\n} bind end\n/Function defineRes pop\n";
        }
    }

    std::string content(int most)
    {
        std::string text;
        for (int i = below(most); i >= 0; i--) {
            for (int n = below(4); n > 0; n--)
                text += (below(5) ? number() : value()) + " ";
            text += any(OPERATORS) + (below(6) ? " " : "\n");
        }
        return text;
    }

    /* Sometimes the text with a piece taken out, twice, or replaced. */
    std::string mutated(std::string text)
    {
        for (int i = below(5) - 2; i > 0; i--) {
            if (text.empty())
                return text;
            size_t at = random() % text.size(), length = random() % 20;
            length = std::min(length, text.size() - at);
            switch (below(5)) {
            case 0:
                text.erase(at, length);
                break;
            case 1:
                text.insert(at, text.substr(at, length));
                break;
            case 2:
                text.insert(at, " " + any(HOSTILE) + " ");
                break;
            case 3:
                text.insert(at, any(WORDS) + " ");
                break;
            default:
                text[at] = (char)below(256);
            }
        }
        return text;
    }

    static constexpr const char *NAMES[] = {
        "A",     "B",      "C",          "F",          "G",          "X",          "a",
        "x",     "Filter", "Length",     "DeviceGray", "Indexed",    "Separation", "Helvetica",
        "Width", "Font",   "CharProcs",  "Pattern",    "Identity",   "Round",      "Pieces",
        "Scope", "Src",    "FrameOwner", "Section",    "local-dict", "A b",        "Owner"};
    static constexpr const char *FILTERS[] = {
        "/ASCIIHexDecode", "/ASCII85Decode", "/LZWDecode", "/FlateDecode", "/RunLengthDecode",
        "/CCITTFaxDecode", "/DCTDecode",     "/None",      "[ /A85 /Fl ]"};
    static constexpr const char *ODD_NUMBERS[] = {"2147483647",  "-2147483648", "1e38",  "-.",
                                                  "99999999999", "0.0000001",   "16#ff", "."};
    static constexpr const char *WORDS[] = {"dup",
                                            "pop",
                                            "exch",
                                            "index",
                                            "roll",
                                            "get",
                                            "if",
                                            "ifelse",
                                            "for",
                                            "repeat",
                                            "[",
                                            "]",
                                            "<<",
                                            ">>",
                                            "begin",
                                            "end",
                                            "def",
                                            "dict",
                                            "currentdict",
                                            "bind",
                                            "currentfile",
                                            "string",
                                            "readstring",
                                            "file",
                                            "filter",
                                            "findRes",
                                            "defineRes",
                                            "SetFilter",
                                            "SetIndexed",
                                            "ReadCount",
                                            "AppendCount",
                                            "AppendFilter",
                                            "AppendFile",
                                            "ExecFontFile",
                                            "ExecType1C",
                                            "AdjFont",
                                            "T3AdjEnc",
                                            "T3DefFnct",
                                            "CallImage",
                                            "CallForm",
                                            "definefont",
                                            "CharProcs",
                                            "moveto",
                                            "concat",
                                            "fill",
                                            "limit",
                                            "int",
                                            "f1",
                                            "setpagedevice",
                                            "translate",
                                            "rotate",
                                            "PageContents",
                                            "EndDocument",
                                            "BeginPageDescription",
                                            "EndPageDescription",
                                            "_defaulthalftone",
                                            "AddCreatedFile"};
    static constexpr const char *HOSTILE[] = {"userdict /Marker 1 put",
                                              "{ userdict /Marker 1 put }",
                                              "//userdict",
                                              "//systemdict begin",
                                              "//Prolog",
                                              "//ContentOps",
                                              "//PageOps",
                                              "//Scratch",
                                              "//SectionEnd",
                                              "//Frames",
                                              "//quit",
                                              "//States",
                                              "//limit",
                                              "//FillGray",
                                              "//EndDocument",
                                              "quit",
                                              "stop",
                                              "exit",
                                              "exec",
                                              "cvx",
                                              "{ } loop",
                                              "(x) cvx exec",
                                              "99999999",
                                              "restore }",
                                              "\n restore }\n",
                                              ">>\n",
                                              "(",
                                              ")",
                                              "{",
                                              "}",
                                              "<",
                                              ">",
                                              "\n\npop\n20 dict begin\n",
                                              "showpage",
                                              "null",
                                              "mark",
                                              "save",
                                              "(marker.txt) (w) file",
                                              "(MARKER) print",
                                              "store",
                                              "put",
                                              "\x84\x92"};
    static constexpr const char *OPERATORS[] = {"b",       "B",
                                                "b*",      "B*",
                                                "BDC",     "BMC",
                                                "BT",      "BX",
                                                "c",       "cm",
                                                "CS",      "cs",
                                                "d",       "d0",
                                                "d1",      "Do",
                                                "DP",      "EI",
                                                "EMC",     "ET",
                                                "EX",      "f",
                                                "F",       "f*",
                                                "G",       "g",
                                                "gs",      "h",
                                                "i",       "ID",
                                                "j",       "J",
                                                "K",       "k",
                                                "l",       "M",
                                                "m",       "MP",
                                                "n",       "q",
                                                "Q",       "re",
                                                "RG",      "rg",
                                                "ri",      "s",
                                                "S",       "sc",
                                                "SC",      "scn",
                                                "SCN",     "sh",
                                                "T*",      "Tc",
                                                "Td",      "TD",
                                                "Tf",      "Tj",
                                                "TJ",      "TL",
                                                "Tm",      "Tr",
                                                "Ts",      "Tw",
                                                "Tz",      "v",
                                                "w",       "W",
                                                "W*",      "y",
                                                "'",       "\"",
                                                "BI",      "/A Do",
                                                "/F 9 Tf", "(Aa) Tj",
                                                "/C cs",   "/G gs",
                                                "q",       "Q",
                                                "re f",    "EndPageDescription"};

    std::mt19937 random;
};

/* In shares, which run at the same time. */
class RandomPages : public testing::TestWithParam<int> {};

TEST_P(RandomPages, LeaveTheNextPageAlone)
{
    const char *wanted = getenv("PAGE_FUZZ");
    size_t share = (wanted ? (size_t)atoi(wanted) : 400) / SHARES;
    size_t begin = (size_t)GetParam() * share, end = begin + share;
    for (size_t first = begin; first < end; first += PAGES_OF_A_JOB) {
        SCOPED_TRACE("pages from " + std::to_string(first));
        HostileJob job;
        for (size_t seed = first; seed < first + PAGES_OF_A_JOB && seed < end; seed++)
            job.add("seed " + std::to_string(seed), PageGrammar((uint32_t)seed).page());
        job.expectHarmless();
    }
}

INSTANTIATE_TEST_SUITE_P(Share, RandomPages, testing::Range(0, SHARES));

} // namespace
