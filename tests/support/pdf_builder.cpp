/*
 * pdf_builder.cpp - makes small PDF files
 */
#include "tests/support/pdf_builder.h"

#include <cstdio>

std::string ref(int number)
{
    return std::to_string(number) + " 0 R";
}

PdfBuilder::PdfBuilder() = default;

int PdfBuilder::reserve()
{
    return next++;
}

int PdfBuilder::add(const std::string &text)
{
    int number = reserve();
    set(number, text);
    return number;
}

void PdfBuilder::set(int number, const std::string &text)
{
    objects[number] = text;
    if (number >= next)
        next = number + 1;
}

int PdfBuilder::addStream(const std::string &entries, const std::string &data)
{
    return add("<< " + entries + " /Length " + std::to_string(data.size()) + " >>\nstream\n" +
               data + "\nendstream");
}

int PdfBuilder::addForm(const std::string &content, const std::string &entries)
{
    std::string all = "/Type /XObject /Subtype /Form ";
    if (entries.find("/BBox") == std::string::npos)
        all += "/BBox [0 0 200 200] ";
    if (entries.find("/Resources") == std::string::npos)
        all += "/Resources << >> ";
    return addStream(all + entries, content);
}

int PdfBuilder::addPage(const std::string &entries)
{
    int number = add("<< /Type /Page /Parent 2 0 R " + entries + " >>");
    pages.push_back(number);
    return number;
}

void PdfBuilder::writeObject(std::string *file, int number, const std::string &text)
{
    offsets[number] = file->size();
    *file += std::to_string(number) + " 0 obj\n" + text + "\nendobj\n";
}

void PdfBuilder::writeSection(std::string *file, const std::vector<int> &numbers,
                              const std::string &trailer)
{
    size_t start = file->size();
    *file += "xref\n";
    char line[32];
    for (int number : numbers) {
        *file += std::to_string(number) + " 1\n";
        if (number == 0)
            *file += "0000000000 65535 f \n";
        else {
            snprintf(line, sizeof line, "%010zu 00000 n \n", offsets.at(number));
            *file += line;
        }
    }
    *file += "trailer\n<< " + trailer + " >>\nstartxref\n" + std::to_string(start) + "\n%%EOF\n";
}

std::string PdfBuilder::build()
{
    std::string kids;
    for (int page : pages)
        kids += ref(page) + " ";
    if (!objects.count(1))
        objects[1] = "<< /Type /Catalog /Pages 2 0 R " + catalogEntries + " >>";
    if (!objects.count(2))
        objects[2] = "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(pages.size()) +
                     " " + rootEntries + " >>";

    std::string file = header;
    std::vector<int> numbers = {0};
    for (const auto &[number, text] : objects) {
        writeObject(&file, number, text);
        numbers.push_back(number);
    }
    xref = file.size();
    writeSection(&file, numbers,
                 "/Size " + std::to_string(size >= 0 ? size : next) + " /Root 1 0 R " +
                     trailerEntries);
    return file;
}

std::string PdfBuilder::buildWithUpdate(const std::map<int, std::string> &updated,
                                        const std::string &updateEntries)
{
    std::string file = build();
    std::vector<int> numbers;
    for (const auto &[number, text] : updated) {
        writeObject(&file, number, text);
        numbers.push_back(number);
        if (number >= next)
            next = number + 1;
    }
    writeSection(&file, numbers,
                 "/Size " + std::to_string(next) + " /Root 1 0 R /Prev " + std::to_string(xref) +
                     " " + updateEntries);
    return file;
}

std::string onePagePdf(const std::string &content, const std::string &entries)
{
    PdfBuilder pdf;
    int stream = pdf.addStream("", content);
    std::string box =
        entries.find("/MediaBox") == std::string::npos ? "/MediaBox [0 0 200 200] " : "";
    pdf.addPage(box + entries + " /Contents " + ref(stream));
    return pdf.build();
}
