/*
 * canonicalfile.cpp - objects in the order in which they are named
 *
 * A canonical document consists of plain values that were made here, and is read by the job alone:
 * so there is nothing to be repaired, encrypted or identified, and an object is written as soon as
 * it is come to.  Where all begin is known when all are written, and stands at the end.
 */
#include "prepare/document/canonicalfile.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <qpdf/Pipeline.hh>
#include <unistd.h>

#include "prepare/model/objects.h"
#include "seam/files.h"

namespace prepare {

namespace {

constexpr size_t OUTPUT_PART = 256u << 10; /* bytes that are written at once */

[[noreturn]] void failToWrite()
{
    throw std::runtime_error(std::string("The prepared document cannot be written: ") +
                             strerror(errno) + ".");
}

/* The file, and how much of it there is; without a file all of it stays in memory. */
class Output {
  public:
    Output() = default;
    explicit Output(const std::string &path)
        : file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666))
    {
        if (file < 0)
            failToWrite();
    }
    ~Output()
    {
        if (file >= 0)
            close(file);
    }
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    uint64_t size() const { return written + waiting.size(); }

    Output &operator<<(std::string_view text)
    {
        bool isKept = file < 0;
        if (!isKept && waiting.size() + text.size() > OUTPUT_PART)
            flush();
        if (!isKept && text.size() > OUTPUT_PART)
            put(text);
        else
            waiting.append(text);
        return *this;
    }

    std::string takeText() { return std::move(waiting); }

    void finish()
    {
        flush();
        int done = close(file);
        file = -1;
        if (done != 0)
            failToWrite();
    }

  private:
    void put(std::string_view text)
    {
        errno = seam::writeWhole(file, text.data(), text.size());
        if (errno)
            failToWrite();
        written += text.size();
    }
    void flush()
    {
        put(waiting);
        waiting.clear();
    }

    int file = -1;
    uint64_t written = 0;
    std::string waiting;
};

/* Takes the data of a stream. */
struct Gather : Pipeline {
    explicit Gather(std::string *into) : Pipeline("data", nullptr), data(into) {}
    void write(unsigned char const *bytes, size_t size) override
    {
        data->append(reinterpret_cast<const char *>(bytes), size);
    }
    void finish() override {}

    std::string *data;
};

struct Writing {
    Writing() = default;
    explicit Writing(const std::string &path) : out(path) {}

    Output out;
    bool leavesPages = false; /* pages, and nodes of trees of pages, that have no number are null */
    std::vector<QPDFObjectHandle> objects; /* in the order of their new numbers, from 1 */
    std::map<QPDFObjGen, size_t> numbers;  /* of the objects that have one */
    std::vector<uint64_t> offsets;         /* of those that are written */
    std::string text, data;                /* of the object that is being written */
};

size_t numberOf(Writing *writing, QPDFObjectHandle object)
{
    auto [known, isNew] = writing->numbers.emplace(object.getObjGen(), writing->objects.size() + 1);
    if (isNew)
        writing->objects.push_back(object);
    return known->second;
}

void addValue(Writing *writing, QPDFObjectHandle value);

void addEntries(Writing *writing, QPDFObjectHandle dictionary, bool isOfStream)
{
    for (const auto &[key, value] : dictionary.getDictAsMap()) {
        QPDFObjectHandle entry = value;
        if (entry.isNull() || (isOfStream && key == "/Length"))
            continue;
        writing->text += QPDFObjectHandle::newName(key).unparse();
        writing->text += ' ';
        addValue(writing, entry);
        writing->text += ' ';
    }
}

/* The value itself, where it stands. */
void addDirect(Writing *writing, QPDFObjectHandle value)
{
    std::string &text = writing->text;
    if (value.isArray()) {
        text += "[ ";
        for (QPDFObjectHandle item : value.aitems()) {
            addValue(writing, item);
            text += ' ';
        }
        text += ']';
    } else if (value.isDictionary()) {
        text += "<< ";
        addEntries(writing, value, false);
        text += ">>";
    } else {
        text += value.unparseResolved();
    }
}

bool isPageNode(QPDFObjectHandle value)
{
    std::string type = value.isDictionary() ? nameOr(value.getKey("/Type")) : "";
    return type == "/Page" || type == "/Pages";
}

/* The value, or what it is referred to by. */
void addValue(Writing *writing, QPDFObjectHandle value)
{
    bool isLeft = writing->leavesPages && value.isIndirect() &&
                  !writing->numbers.count(value.getObjGen()) && isPageNode(value);
    if (isLeft)
        writing->text += "null";
    else if (value.isIndirect())
        writing->text += std::to_string(numberOf(writing, value)) + " 0 R";
    else
        addDirect(writing, value);
}

void addStream(Writing *writing, QPDFObjectHandle stream)
{
    writing->data.clear();
    Gather gather(&writing->data);
    bool isDecoded = false;
    bool isWhole = stream.pipeStreamData(&gather, &isDecoded, 0, qpdf_dl_none, true, false);
    if (!isWhole && !writing->leavesPages) /* a renderer takes what there is */
        throw std::runtime_error("Data of a stream cannot be read.");
    writing->text += "<< ";
    addEntries(writing, stream.getDict(), true);
    writing->text += "/Length " + std::to_string(writing->data.size()) + " >>\nstream\n";
}

void writeObject(Writing *writing, QPDFObjectHandle object)
{
    std::string &text = writing->text;
    writing->offsets.push_back(writing->out.size());
    text = std::to_string(writing->offsets.size()) + " 0 obj\n";
    if (!object.isStream()) {
        addDirect(writing, object);
        writing->out << (text += "\nendobj\n");
        return;
    }
    addStream(writing, object);
    writing->out << text << writing->data << "\nendstream\nendobj\n";
}

void writeTable(Writing *writing)
{
    Output &out = writing->out;
    uint64_t begin = out.size();
    std::string count = std::to_string(writing->offsets.size() + 1);
    out << "xref\n0 " << count << "\n0000000000 65535 f \n";
    for (uint64_t offset : writing->offsets) {
        std::string digits = std::to_string(offset);
        out << std::string(10 - std::min<size_t>(10, digits.size()), '0') << digits
            << " 00000 n \n";
    }
    out << "trailer << /Root 1 0 R /Size " << count << " >>\nstartxref\n"
        << std::to_string(begin) << "\n%%EOF\n";
}

/* All that is numbered, and what is come to from there; the table. */
void writeObjects(Writing *writing)
{
    writing->out << "%PDF-1.2\n%\xBF\xF7\xA2\xFE\n";
    for (size_t i = 0; i < writing->objects.size(); i++) {
        QPDFObjectHandle object = writing->objects[i];
        writeObject(writing, object);
    }
    writeTable(writing);
}

} // namespace

void writeCanonicalFile(QPDFObjectHandle root, const std::string &path)
{
    Writing writing(path);
    numberOf(&writing, root);
    writeObjects(&writing);
    writing.out.finish();
}

std::string singlePageFile(QPDFObjectHandle page)
{
    QPDF *pdf = page.getOwningQPDF();
    QPDFObjectHandle only = page.isIndirect() ? page : pdf->makeIndirectObject(page);
    QPDFObjectHandle tree = QPDFObjectHandle::newDictionary();
    tree.replaceKey("/Type", QPDFObjectHandle::newName("/Pages"));
    tree.replaceKey("/Count", QPDFObjectHandle::newInteger(1));
    tree.replaceKey("/Kids", QPDFObjectHandle::newArray({only}));
    tree = pdf->makeIndirectObject(tree);
    only.replaceKey("/Parent", tree);
    QPDFObjectHandle root = QPDFObjectHandle::newDictionary();
    root.replaceKey("/Type", QPDFObjectHandle::newName("/Catalog"));
    root.replaceKey("/Pages", tree);
    Writing writing;
    for (QPDFObjectHandle object : {pdf->makeIndirectObject(root), tree, only})
        numberOf(&writing, object);
    writing.leavesPages = true;
    writeObjects(&writing);
    return writing.out.takeText();
}

} // namespace prepare
