"""What is installed serves programs of others: by pkg-config and by CMake, from C and from C++, shared and static; and
what a project gets that adds the checkout as a subdirectory."""

import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["LUVIA_BUILD_DIR"])
SOURCE = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(SOURCE / "Examples"))
from examples import promised  # noqa: E402

STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
LANGUAGES = {"c": ["cc", "-std=c11", *STRICT], "c++": ["c++", "-std=c++20", *STRICT]}
CXX_ONLY = {"Foundation/Objects/ZoCounting.h", "Foundation/Objects/ZoRef.h"}
OURS = r"_*(k?Lu|g?k?Tav|tav_|k?Zo|k?Yx|k?Wn|k?ID3|k?H264|k?HEVC|Atom)\w+"
PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(player LANGUAGES {language})
find_package(luvia 1.0 CONFIG REQUIRED)
foreach(target luvia luvia_static tag tag_static)
    set(source {examples}/media_time.c)
    if(target MATCHES tag)
        set(source {examples}/tag_in_memory.c)
    endif()
    set_source_files_properties(${{source}} PROPERTIES LANGUAGE {language})
    add_executable(with_${{target}} ${{source}})
    target_link_libraries(with_${{target}} PRIVATE luvia::${{target}})
endforeach()
"""
PARENT = """
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES C)
add_subdirectory({source} luvia)
add_executable(player {source}/Examples/media_time.c)
target_link_libraries(player PRIVATE luvia::luvia)
"""


def run(*words, **options):
    done = subprocess.run([str(word) for word in words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    assert done.returncode == 0, f"{words}\n{done.stdout}"
    return done.stdout


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        # Under a prefix of its own in a DESTDIR: descriptions that name an absolute path lead nowhere then.
        manifest = BUILD / "install_manifest.txt"
        before = manifest.read_bytes() if manifest.exists() else None
        try:
            run("cmake", "--install", BUILD, "--prefix", "/opt/luvia", env={**os.environ, "DESTDIR": cls.folder})
        finally:
            if before is None:
                manifest.unlink(missing_ok=True)
            else:
                manifest.write_bytes(before)
        cls.prefix = cls.folder / "opt/luvia"
        cls.libraries = next(cls.prefix.rglob("libluvia.a")).parent
        cls.shared = (cls.libraries / "libluvia.so").exists()
        cls.includes = cls.prefix / "include/luvia"
        cls.headers = sorted(str(path.relative_to(cls.includes)) for path in cls.includes.rglob("*.h"))
        cls.environment = {**os.environ, "LD_LIBRARY_PATH": str(cls.libraries), "LUVIA_PREFERENCES_DIR": folder.name,
                           "PKG_CONFIG_PATH": str(cls.libraries / "pkgconfig")}

    def flags(self, *words):
        return shlex.split(run("pkg-config", *words, "luvia", env=self.environment))

    def assertPrints(self, program, example):
        self.assertEqual(run(program, env=self.environment), promised(example))

    def test_installs_nothing_that_is_not_ours_to_install(self):
        for path in ("bin/id3tag", "bin/luvia-inspect", "share/bash-completion/completions/id3tag"):
            self.assertGreater((self.prefix / path).stat().st_size, 0, path)
        for page in ("id3tag.1", "luvia-inspect.1"):
            self.assertNotIn("@", (self.prefix / "share/man/man1" / page).read_text().splitlines()[0])
        self.assertEqual([path.name for path in (self.prefix / "include").iterdir()], ["luvia"])
        self.assertEqual([str(path) for path in self.prefix.rglob("*") if path.is_dir() and not any(path.iterdir())], [])
        self.assertEqual([header for header in self.headers if header.endswith("Private.h") or "dispatch" in header], [])

    def test_each_header_compiles_alone(self):
        self.assertGreater(len(self.headers), 50)
        self.assertLessEqual(CXX_ONLY, set(self.headers))
        for header in CXX_ONLY:
            self.assertIn("C++", "".join((self.includes / header).read_text().splitlines(keepends=True)[:3]), header)
        for language, words in LANGUAGES.items():
            sources = []
            for number, header in enumerate(self.headers):
                if language == "c" and header in CXX_ONLY:
                    continue
                source = self.folder / f"{number}.{'c' if language == 'c' else 'cpp'}"
                source.write_text(f'#include "{header}"\n#include "{header}"\n')
                sources.append(source)
            run(*words, "-fsyntax-only", "-x", language, *self.flags("--cflags"), *sources)

    def test_exports_what_the_headers_declare(self):
        if not self.shared:
            self.skipTest("no shared library")
        library = self.libraries / "libluvia.so"
        self.assertIn("[libluvia.so.1]", run("readelf", "-d", library))
        exported = {line.split()[2].split("@")[0] for line in run("nm", "-D", "--defined-only", library).splitlines()}
        self.assertEqual({name for name in exported if not re.fullmatch(OURS, name)} - {"LUVIA_1"}, set())
        declared = set()
        for header in self.headers:
            text = re.sub(r"//.*", "", (self.includes / header).read_text()) if header not in CXX_ONLY else ""
            declared |= {match[1] for match in re.finditer(r"^(?!typedef|static|#)\w[\w *]*?\b(\w+)\([^;{]*\)[^;{]*;", text, re.M)}
            declared |= {match[1] for match in re.finditer(r"^extern (?:const )?\w[\w ]*?(\w+)(?:\[.*\])*;", text, re.M)}
        self.assertGreater(len(declared), 500)
        self.assertEqual(sorted(declared - exported), [])

    def test_pkg_config(self):
        for language, words in LANGUAGES.items():
            program = self.folder / "by_pkg_config"
            run(*words, "-x", language, SOURCE / "Examples/media_time.c", "-x", "none", *self.flags("--cflags", "--libs"), "-o", program)
            self.assertPrints(program, "media_time")
            # With the archive in place of the shared library.
            libs = ["-l:libluvia.a" if word == "-lluvia" else word for word in self.flags("--static", "--cflags", "--libs")]
            run(*words, "-x", language, SOURCE / "Examples/log_lines.c", "-x", "none", *libs, "-o", program)
            self.assertNotIn("libluvia", run("readelf", "-d", program))
            self.assertPrints(program, "log_lines")

    def test_cmake(self):
        for language in ("C", "CXX"):
            project = self.folder / f"cmake_{language}"
            project.mkdir()
            (project / "CMakeLists.txt").write_text(PROJECT.format(language=language, examples=SOURCE / "Examples"))
            run("cmake", "-G", "Ninja", "-S", project, "-B", project, f"-DCMAKE_PREFIX_PATH={self.prefix}")
            run("cmake", "--build", project)
            for target in ("luvia", "luvia_static", "tag", "tag_static"):
                self.assertPrints(project / f"with_{target}", "tag_in_memory" if "tag" in target else "media_time")
            self.assertNotIn("libicu", run("readelf", "-d", project / "with_tag_static"))

    def test_subdirectory(self):
        """Configured only: that such a project links is what the examples show, which stand in one."""
        project = self.folder / "parent"
        project.mkdir()
        (project / "CMakeLists.txt").write_text(PARENT.format(source=SOURCE))
        run("cmake", "-G", "Ninja", "-S", project, "-B", project, "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON")
        commands = json.loads((project / "compile_commands.json").read_text())
        compiled, = [entry["command"] for entry in commands if entry["file"].endswith("media_time.c")]
        linked = run("ninja", "-C", project, "-t", "commands", "-s", "player")
        self.assertEqual(re.findall(r"(?:^| )(-[fWD][^l]\S*)", compiled + linked.replace("-Wl,-u", "")), [])
        self.assertEqual([entry["file"] for entry in commands if "-Werror" in entry["command"]], [])
        self.assertFalse("file(INSTALL" in "".join(path.read_text() for path in project.rglob("cmake_install.cmake")))


if __name__ == "__main__":
    unittest.main()
