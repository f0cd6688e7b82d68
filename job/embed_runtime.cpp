/*
 * embed_runtime.cpp - embed_runtime RUNTIME OUT: the runtime of jobs as C++ arrays
 *
 * Runs while the program is built.  RUNTIME has the stripped parts, each behind a line that names
 * its source; what a part defines, and which others it needs, stands in the head of the source.
 */
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr char MARK[] = "%%Part: ";

struct Part {
    std::string source;
    std::string text; /* stripped */
    std::set<std::string> needs, defines;
};

bool readParts(const char *path, std::vector<Part> *parts)
{
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(MARK))
            parts->push_back({line.substr(sizeof MARK - 1), "", {}, {}});
        else if (parts->empty())
            return false;
        else
            parts->back().text += line + "\n";
    }
    return !parts->empty();
}

/* The lists behind "% Needs:" and "% Defines:", and in the lines that go on with them. */
bool readHead(Part *part)
{
    std::ifstream in(part->source);
    std::set<std::string> *list = nullptr;
    for (std::string line; std::getline(in, line) && line.starts_with('%');) {
        std::istringstream words(line.substr(1));
        bool goesOn = line.starts_with("%     ");
        std::string word;
        if (!goesOn) {
            words >> word;
            list = word == "Needs:" ? &part->needs : word == "Defines:" ? &part->defines : nullptr;
        }
        while (list && words >> word)
            list->insert(word);
    }
    return !part->defines.empty() || part->source.ends_with("99_end.ps");
}

std::string arrayOf(const std::string &text)
{
    std::string numbers;
    for (size_t i = 0; i < text.size(); i++)
        numbers += std::to_string((unsigned char)text[i]) + (i % 24 == 23 ? ",\n" : ",");
    return numbers;
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<Part> parts;
    if (argc != 3 || !readParts(argv[1], &parts) || parts.size() > 32)
        return 2;
    std::map<std::string, size_t> owners; /* the first that defines a name */
    for (size_t i = 0; i < parts.size(); i++) {
        if (!readHead(&parts[i])) {
            std::cerr << parts[i].source << ": its head does not say what it defines\n";
            return 1;
        }
        for (const std::string &name : parts[i].defines)
            owners.emplace(name, i);
    }
    std::ofstream out(argv[2]);
    out << "/* Made by job/embed_runtime.cpp. */\n#include \"job/runtime.h\"\n\nnamespace {\n\n";
    for (size_t i = 0; i < parts.size(); i++)
        out << "const unsigned char part" << i << "[] = {\n" << arrayOf(parts[i].text) << "};\n";
    out << "\n} // namespace\n\nconst job::RuntimePart job::runtimeParts[] = {\n";
    for (size_t i = 0; i < parts.size(); i++) {
        uint32_t needs = 0;
        for (const std::string &name : parts[i].needs)
            if (owners.contains(name)) /* else a variable that one of them sets */
                needs |= (uint32_t)1 << owners[name];
        out << "    {part" << i << ", sizeof part" << i << ", " << needs << "u, \"";
        for (const std::string &name : parts[i].defines)
            if (name.find_first_of("\"\\") == std::string::npos)
                out << ' ' << name;
        out << " \"},\n";
    }
    out << "};\n\nconst size_t job::runtimePartCount = " << parts.size() << ";\n";
    out.close();
    return out ? 0 : 1;
}
