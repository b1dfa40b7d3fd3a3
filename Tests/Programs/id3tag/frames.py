"""Every kind of frame, made by the tool and read back by mutagen."""

import plistlib
import subprocess
import unittest

from mutagen.id3 import ID3

from support import ToolTest, png


class Frames(ToolTest):
    def read(self, *words):
        data = self.make_tag(*words)
        tags = ID3(self.tag)
        self.assertEqual(tags.version, (2, 4, 0))
        self.assertEqual(tags.size, len(data))
        self.assertEqual(tags.unknown_frames, [])
        return tags

    def test_texts(self):
        tags = self.read("--title=Grüße", "--artist=World", "--album=Ж", "-t", "3/9", "--text-type=trck",
                         "--text=free", "-d", "what it is", "--text=", "-d", "empty")
        self.assertEqual([str(tags[key]) for key in ("TIT2", "TPE1", "TALB", "TRCK", "TXXX:what it is")],
                         ["Grüße", "World", "Ж", "3/9", "free"])
        self.assertEqual(tags["TXXX:empty"].text, [""])
        self.assertEqual({frame.encoding for frame in tags.values()}, {3})

    def test_urls(self):
        tags = self.read("-u", "http://a/?q=1", "--url-type=WCOM", "--url=http://b", "-d", "site", "--url=http://c")
        self.assertEqual(tags["WCOM:http://a/?q=1"].url, "http://a/?q=1")
        self.assertEqual(tags["WXXX:site"].url, "http://b")
        self.assertEqual(tags["WXXX:"].url, "http://c")

    def test_pictures(self):
        jpeg = self.folder / "photo.jpg"
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc=s=16x16", "-frames:v", "1", jpeg],
                       check=True, stdin=subprocess.DEVNULL)
        cover = self.file("cover.png", png())
        tags = self.read("-i", cover, "--picture-type=3", "-d", "front", "--picture", jpeg,
                         "--picture", cover, "--picture-type=", "-d", "no type")
        front, photo, plain = tags["APIC:front"], tags["APIC:"], tags["APIC:no type"]
        self.assertEqual((front.mime, front.type, front.data), ("image/png", 3, png()))
        self.assertEqual((photo.mime, photo.type, photo.data), ("image/jpeg", 16, jpeg.read_bytes()))
        self.assertEqual(plain.type, 0)

    def test_objects(self):
        content = {"key": ["value", 1, True], "date": b"bytes"}
        plist = self.file("info.plist", plistlib.dumps(content))
        data = self.file("blob.bin", bytes(range(256)) * 300)
        empty = self.file("empty", b"")
        tags = self.read("--plist", plist, "-d", "list", "--generic-object", data, "--generic-object-type=audio/midi",
                         "-d", "tune", "--generic-object=empty")
        listed, tune, nothing = tags["GEOB:list"], tags["GEOB:tune"], tags["GEOB:"]
        self.assertEqual((listed.mime, listed.filename), ("application/xml", "info.plist"))
        self.assertEqual(plistlib.loads(listed.data), content)
        self.assertEqual((tune.mime, tune.filename, tune.data), ("audio/midi", "blob.bin", data.read_bytes()))
        self.assertEqual((nothing.mime, nothing.filename, nothing.data),
                         ("application/octet-stream", empty.name, b""))

    def test_private(self):
        tags = self.read("--explicit=1", "--jingle=ding", "--zib=news", "--qorid=42", "--qorid=own", "-d", "org.example")
        self.assertEqual({(frame.owner, frame.data) for frame in tags.values()}, {
            ("com.orvane.radio.explicit", b"\1"),
            ("com.orvane.radio.ping.jingle", b"ding"),
            ("com.orvane.radio.ping.zib", b"news"),
            ("com.orvane.radio.qorid", b"42"),
            ("org.example", b"own"),
        })

    def test_many_frames_stand_last_first(self):
        words = [word for i in range(3000) for word in ("-t", f"text {i}", "-d", f"{i}")]
        tags = self.read(*words)
        self.assertEqual(len(tags), 3000)
        self.assertEqual([frame.desc for frame in tags.values()], [str(i) for i in reversed(range(3000))])

    def test_a_tag_in_front_of_music(self):
        music = self.folder / "music.mp3"
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "sine=d=0.2", "-id3v2_version", "0", music],
                       check=True, stdin=subprocess.DEVNULL)
        tag = self.make_tag("--title=Hello", "--artist=World", "-i", self.file("cover.png", png()))
        whole = self.file("tagged.mp3", tag + music.read_bytes())
        shown = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format_tags=title,artist:stream=codec_name",
                                "-of", "csv=p=0", whole], check=True, capture_output=True, text=True)
        self.assertEqual(shown.stderr, "")
        self.assertEqual(sorted(shown.stdout.split()), ["World,Hello", "mp3", "png"])


if __name__ == "__main__":
    unittest.main()
