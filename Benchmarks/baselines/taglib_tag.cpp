// A small TagLib program: writes a tag of three text frames, or of one object from a file, to a file.
//
//   taglib_tag OUT TITLE ARTIST ALBUM
//   taglib_tag OUT OBJECT

#include <taglib/generalencapsulatedobjectframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/tfilestream.h>

#include <cstdio>

static TagLib::ByteVector readFile(const char* path)
{
    TagLib::FileStream stream(path, true);
    return stream.readBlock(static_cast<unsigned long>(stream.length()));
}

int main(int argc, char** argv)
{
    TagLib::ID3v2::Tag tag;
    if (argc == 5) {
        tag.setTitle(argv[2]);
        tag.setArtist(argv[3]);
        tag.setAlbum(argv[4]);
    } else if (argc == 3) {
        auto* const frame = new TagLib::ID3v2::GeneralEncapsulatedObjectFrame;
        frame->setMimeType("application/octet-stream");
        frame->setFileName(argv[2]);
        frame->setObject(readFile(argv[2]));
        tag.addFrame(frame);
    } else {
        return 2;
    }
    const TagLib::ByteVector bytes = tag.render();
    FILE* const file = std::fopen(argv[1], "w");
    if (!file) return 1;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written ? 0 : 1;
}
