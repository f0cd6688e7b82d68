/*
 * convert.cpp - a small program on libpdf_to_ps: convert IN.pdf OUT.ps
 *
 * With an installed library it is built in either of two ways:
 *
 *     cmake -S . -B build && cmake --build build
 *     c++ -std=c++17 convert.cpp $(pkg-config --cflags --libs pdf_to_ps) -o convert
 */
#include <pdf_to_ps/pdf_to_ps.h>

#include <cstdio>

static void showMessage(void *, const pdf_to_ps::Message &message)
{
    const char *kinds[] = {"note", "warning", "fault", "error"};
    std::fprintf(stderr, "%s: %s", kinds[static_cast<int>(message.severity) - 1], message.text);
    if (message.page > 0)
        std::fprintf(stderr, " (page %d)", message.page);
    std::fprintf(stderr, "\n");
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: convert IN.pdf OUT.ps\n");
        return 2;
    }
    pdf_to_ps::Input input;
    input.path = argv[1];
    pdf_to_ps::Output output;
    output.path = argv[2];
    pdf_to_ps::Options options;
    options.message = showMessage;

    pdf_to_ps::Result result = pdf_to_ps::convert(input, output, options);
    if (result.status != pdf_to_ps::Status::converted)
        return 1;
    std::printf("%d pages, %llu bytes, by libpdf_to_ps %s\n", result.pageCount,
                static_cast<unsigned long long>(result.byteCount), pdf_to_ps::version());
    return 0;
}
