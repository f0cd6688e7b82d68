/*
 * make_pdf.cpp - makes large documents for measuring
 *
 *     make_pdf FILE PAGES BYTES   one unfiltered content stream of so many bytes for each page
 *
 * The streams hold white space, so that the documents can be printed, too.  Written in one pass,
 * with nothing kept but the offsets.
 */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Writer {
    FILE *file;
    uint64_t position = 0;
    std::vector<uint64_t> offsets; /* of the objects, from number 1 on */

    void write(const std::string &text)
    {
        fwrite(text.data(), 1, text.size(), file);
        position += text.size();
    }
    void begin()
    {
        offsets.push_back(position);
        write(std::to_string(offsets.size()) + " 0 obj\n");
    }
    void object(const std::string &text)
    {
        begin();
        write(text + "\nendobj\n");
    }
    void stream(uint64_t bytes)
    {
        static const std::string blanks(1 << 16, ' ');
        begin();
        write("<< /Length " + std::to_string(bytes) + " >>\nstream\n");
        for (uint64_t left = bytes; left > 0;) {
            uint64_t piece = left < blanks.size() ? left : blanks.size();
            write(piece == blanks.size() ? blanks : blanks.substr(0, piece));
            left -= piece;
        }
        write("\nendstream\nendobj\n");
    }
    void index()
    {
        uint64_t start = position;
        char entry[32];
        std::string size = std::to_string(offsets.size() + 1);
        write("xref\n0 " + size + "\n0000000000 65535 f \n");
        for (uint64_t offset : offsets) {
            snprintf(entry, sizeof entry, "%010llu 00000 n \n", (unsigned long long)offset);
            write(entry);
        }
        write("trailer\n<< /Size " + size + " /Root 1 0 R >>\nstartxref\n" + std::to_string(start) +
              "\n%%EOF\n");
    }
};

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4) {
        fprintf(stderr, "Usage: make_pdf FILE PAGES BYTES\n");
        return 1;
    }
    Writer pdf = {fopen(argv[1], "wb"), 0, {}};
    if (!pdf.file) {
        perror(argv[1]);
        return 1;
    }
    unsigned long pages = strtoul(argv[2], nullptr, 10);
    uint64_t bytes = strtoull(argv[3], nullptr, 10);

    pdf.write("%PDF-1.2\n");
    pdf.object("<< /Type /Catalog /Pages 2 0 R >>");
    std::string kids;
    for (unsigned long i = 0; i < pages; i++)
        kids += std::to_string(3 + 2 * i) + " 0 R\n";
    pdf.object("<< /Type /Pages /MediaBox [0 0 612 792] /Count " + std::to_string(pages) +
               " /Kids [\n" + kids + "] >>");
    for (unsigned long i = 0; i < pages; i++) {
        pdf.object("<< /Type /Page /Parent 2 0 R /Contents " + std::to_string(4 + 2 * i) +
                   " 0 R >>");
        pdf.stream(bytes);
    }
    pdf.index();
    return fclose(pdf.file) == 0 ? 0 : 1;
}
