/*
 * object_file.h - the texts of objects as a PDF file with a correct cross-reference table
 */
#ifndef FUZZ_OBJECT_FILE_H
#define FUZZ_OBJECT_FILE_H

#include <algorithm>
#include <cstdio>
#include <string>

constexpr char SEPARATOR = '\xFF'; /* between two objects */

/* The texts as objects 1, 2, ... of a file. */
inline std::string documentOf(const std::string &texts)
{
    std::string file = "%PDF-1.2\n", table;
    size_t count = 0;
    for (size_t at = 0; at <= texts.size();) {
        size_t end = std::min(texts.find(SEPARATOR, at), texts.size());
        char entry[32];
        snprintf(entry, sizeof entry, "%010zu 00000 n \n", file.size());
        table += entry;
        file += std::to_string(++count) + " 0 obj\n" + texts.substr(at, end - at) + "\nendobj\n";
        at = end + 1;
    }
    std::string start = std::to_string(file.size());
    std::string size = std::to_string(count + 1);
    return file + "xref\n0 " + size + "\n0000000000 65535 f \n" + table + "trailer\n<< /Size " +
           size + " /Root 1 0 R >>\nstartxref\n" + start + "\n%%EOF\n";
}

#endif
