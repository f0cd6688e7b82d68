/*
 * fileinput.cpp - windows of a file
 *
 * libqpdf reads in pieces of some hundred bytes, all over the file, and seeks in front of each. The
 * pieces are taken from a few windows that are kept, so that only a new window is a call of the
 * system.  The file is not mapped: of one that becomes shorter a window cannot be read, which is an
 * error like others.
 */
#include "prepare/document/fileinput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <qpdf/QPDFExc.hh>
#include <sys/stat.h>
#include <unistd.h>

namespace prepare {

namespace {

constexpr qpdf_offset_t WINDOW = 64 << 10; /* bytes */

class FileInput : public InputSource {
  public:
    explicit FileInput(const std::string &path)
        : name(path), file(open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct stat info = {};
        if (file < 0 || fstat(file, &info) != 0) {
            std::string reason = strerror(errno);
            if (file >= 0)
                close(file);
            throw std::runtime_error("open " + path + ": " + reason);
        }
        size = info.st_size;
    }
    ~FileInput() override { close(file); }
    FileInput(const FileInput &) = delete;
    FileInput &operator=(const FileInput &) = delete;

    std::string const &getName() const override { return name; }
    qpdf_offset_t tell() override { return at; }
    void rewind() override { at = 0; }
    void unreadCh(char) override { at = std::max<qpdf_offset_t>(at - 1, 0); }

    void seek(qpdf_offset_t offset, int whence) override
    {
        qpdf_offset_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? at : size;
        if (offset < -from || offset > INT64_MAX - from)
            throw std::runtime_error(name + ": seek to an offset that cannot be");
        at = from + offset;
    }

    size_t read(char *to, size_t length) override
    {
        last_offset = at;
        size_t done = 0;
        if (length >= (size_t)WINDOW && at < size) { /* data of a stream, read once */
            done = (size_t)std::min<qpdf_offset_t>((qpdf_offset_t)length, size - at);
            readWhole(to, done, at);
            at += (qpdf_offset_t)done;
            return done;
        }
        while (done < length && at < size) {
            std::string_view rest = restOfWindow();
            size_t part = std::min(rest.size(), length - done);
            memcpy(to + done, rest.data(), part);
            done += part;
            at += (qpdf_offset_t)part;
        }
        return done;
    }

    /* Behind the end of this line, and of those that are empty; answers where the line ends. */
    qpdf_offset_t findAndSkipNextEOL() override
    {
        qpdf_offset_t end = size;
        bool isFound = false;
        while (at < size) {
            std::string_view rest = restOfWindow();
            size_t place = isFound ? rest.find_first_not_of("\r\n") : rest.find_first_of("\r\n");
            at += (qpdf_offset_t)std::min(place, rest.size());
            if (place == rest.npos)
                continue;
            if (isFound)
                break;
            isFound = true;
            end = at;
        }
        return end;
    }

  private:
    struct Window {
        qpdf_offset_t begin = -1;
        uint64_t used = 0; /* when, by `clock` */
        std::vector<char> bytes = {};
    };

    void readWhole(char *to, size_t count, qpdf_offset_t from)
    {
        while (count > 0) {
            ssize_t got = pread(file, to, count, from);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                throw QPDFExc(qpdf_e_system, name, "", from,
                              got < 0 ? strerror(errno) : "the file has become shorter");
            to += got;
            from += got;
            count -= (size_t)got;
        }
    }

    /* The bytes from here on, as far as the window has them; there is at least one in the file. */
    std::string_view restOfWindow()
    {
        qpdf_offset_t begin = at - at % WINDOW;
        if (current->begin != begin)
            enter(begin);
        return {current->bytes.data() + (at - begin), current->bytes.size() - (size_t)(at - begin)};
    }

    void enter(qpdf_offset_t begin)
    {
        auto known = std::find_if(windows.begin(), windows.end(),
                                  [&](const Window &window) { return window.begin == begin; });
        if (known == windows.end()) {
            known =
                std::min_element(windows.begin(), windows.end(),
                                 [](const Window &a, const Window &b) { return a.used < b.used; });
            known->begin = -1;
            known->bytes.resize((size_t)std::min(WINDOW, size - begin));
            readWhole(known->bytes.data(), known->bytes.size(), begin);
            known->begin = begin;
        }
        known->used = ++clock;
        current = &*known;
    }

    std::string name;
    int file;
    qpdf_offset_t size = 0, at = 0;
    uint64_t clock = 0;
    std::array<Window, 16> windows;
    Window *current = &windows[0];
};

} // namespace

std::shared_ptr<InputSource> openFileInput(const std::string &path)
{
    return std::make_shared<FileInput>(path);
}

} // namespace prepare
