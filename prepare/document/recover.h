/*
 * recover.h - a table of objects for a file whose own ones lead nowhere
 */
#ifndef PREPARE_DOCUMENT_RECOVER_H
#define PREPARE_DOCUMENT_RECOVER_H

#include <map>
#include <string>
#include <vector>

namespace prepare {

/* Where an object stands. */
struct FoundObject {
    size_t offset = 0; /* of its number, or of that of the object stream that holds it */
    int generation = 0;
    int container = 0; /* number of the object stream; 0: it stands by itself */
    int index = 0;     /* within the object stream */
};

/* A file, and what stands in it by its own words. */
struct FoundObjects {
    std::string text;                   /* of the file, from its header on */
    std::map<int, FoundObject> objects; /* the last one of each number */
    std::vector<int> objectStreams;     /* numbers of those that are alive */
    std::string root, encryption, id;   /* values of the last trailer that has them; or empty */
};

/* Looks for "n g obj" outside of streams, once through the file.  Nothing of a file that cannot be
 * read, or has more than 256 MB. */
FoundObjects findObjects(const std::string &path);

/* Adds what stands in object streams.  Needs the password of an encrypted document.  Throws
 * LimitReached, or what libqpdf throws, where the file cannot be read even so. */
void findCompressedObjects(FoundObjects *found, const std::string &password);

/* The file with a new table of these objects at its end. */
std::string withNewTable(const FoundObjects &found);

} // namespace prepare

#endif
