// The boxes of an ISO or movie file, with those of the containers that everybody has; without a file, of a small one
// that is built in.
//
//     ftyp  offset 0  size 16
//     moov  offset 16  size 24
//       trak  offset 24  size 16
//         mdia  offset 32  size 8
//     free  offset 40  size 8

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "Utilities/TavAtomStream.h"

static const char kSmallFile[] =
    "\0\0\0\x10"
    "ftypisom\0\0\0\0"
    "\0\0\0\x18moov\0\0\0\x10trak\0\0\0\x08mdia"
    "\0\0\0\x08"
    "free";

static int isContainer(OSType type)
{
    static const OSType kContainers[] = {
        LU_FOURCC('m', 'o', 'o', 'v'), LU_FOURCC('t', 'r', 'a', 'k'), LU_FOURCC('m', 'd', 'i', 'a'),
        LU_FOURCC('m', 'i', 'n', 'f'), LU_FOURCC('s', 't', 'b', 'l'), LU_FOURCC('m', 'o', 'o', 'f'),
        LU_FOURCC('t', 'r', 'a', 'f'), LU_FOURCC('m', 'v', 'e', 'x'),
    };
    for (size_t i = 0; i < sizeof(kContainers) / sizeof(kContainers[0]); i++)
        if (type == kContainers[i]) return 1;
    return 0;
}

static OSStatus show(TavAtomStream* atoms, int depth)
{
    for (;;) {
        OSType type;
        int64_t dataLength, offset, size;
        OSStatus status = TavAtomStreamGetCurrentAtomTypeAndDataLength(atoms, &type, &dataLength);
        if (status == 0) status = TavAtomStreamGetCurrentAtomGlobalOffset(atoms, &offset, &size);
        if (status != 0) return status;
        printf("%*s%s  offset %lld  size %lld\n", 2 * depth, "", AtomTypeToString(type).text, (long long)offset,
               (long long)size);

        TavAtomStream children;
        if (isContainer(type) && dataLength > 0) {
            status = TavAtomStreamInitWithParent(atoms, 0, &children);
            if (status == 0) status = show(&children, depth + 1);
            if (status != 0) return status;
        }
        status = TavAtomStreamAdvanceToNextAtom(atoms);
        if (status != 0) return status == kTavAtomStream_AtEnd ? 0 : status;
    }
}

// The whole file, which the caller frees; nothing if it cannot be read.
static char* readFile(const char* path, size_t* sizeOut)
{
    FILE* file = fopen(path, "rb");
    if (!file) return NULL;
    char* bytes = NULL;
    long size = -1;
    if (fseek(file, 0, SEEK_END) == 0 && (size = ftell(file)) > 0 && fseek(file, 0, SEEK_SET) == 0)
        bytes = malloc((size_t)size);
    if (bytes && fread(bytes, 1, (size_t)size, file) != (size_t)size) {
        free(bytes);
        bytes = NULL;
    }
    fclose(file);
    *sizeOut = bytes ? (size_t)size : 0;
    return bytes;
}

int main(int argc, char** argv)
{
    size_t size = sizeof(kSmallFile) - 1;
    char* file = NULL;
    if (argc > 1 && !(file = readFile(argv[1], &size))) {
        perror(argv[1]);
        return EXIT_FAILURE;
    }
    TavAtomStream atoms;
    OSStatus status = TavAtomStreamInitWithMemoryBlock(file ? file : kSmallFile, size, 0, 1, &atoms);
    if (status == 0) status = show(&atoms, 0);
    free(file);
    if (status != 0) fprintf(stderr, "malformed: %d\n", (int)status);
    return status == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
