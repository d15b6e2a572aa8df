"""The installed tree and the Debian packages serve a project that knows nothing else, once through
find_package and once through pkg-config; the manual pages name the options that the tools have.

usage: install.py BUILD_FOLDER CONSUMER_FOLDER CMAKE CXX
"""
import glob
import os
import re
import shlex
import subprocess
import sys
import tempfile

EXPECTED = """\
config/level = 175 (Stored number is Oversized)
1 Hello World!
1920x1080p50 YCbCr:422:10 3G A Rec.709
"""
WITH_OPTIONS = ("datacore_client", "datacore_server", "make_frame", "replay", "show_captions")


def check(holds, what, shown=""):
    if not holds:
        print(f"FAILED: {what} {shown}")
        sys.exit(1)
    print(f"passed: {what}")


def run(*words, **variables):
    result = subprocess.run(words, capture_output=True, text=True, timeout=300, check=False,
                            env={**os.environ, **variables})
    check(result.returncode == 0, shlex.join(words), result.stdout + result.stderr)
    return result.stdout


def only(pattern):
    """The one path that fits."""
    found = glob.glob(pattern, recursive=True)
    check(len(found) == 1, f"there is one {pattern}", found)
    return found[0]


class Consumer:
    """A project that is built against what is below a prefix, and run."""

    def __init__(self, source, cmake, cxx):
        self.source, self.cmake, self.cxx = source, cmake, cxx

    def check_output(self, program, prefix, what):
        library = glob.glob(f"{prefix}/lib/**/libinfrastructure_core.so", recursive=True)[0]
        folder = os.path.dirname(library)
        loaded = run("ldd", program, LD_LIBRARY_PATH=folder)
        check(not re.search("libsensors|libQt5Gui|infrastructure_board", loaded),
              "a mirror loads neither sensors nor pictures", loaded)
        output = run(program, LD_LIBRARY_PATH=folder)
        check(output == EXPECTED, what, output)

    def find_package(self, name, prefix):
        with tempfile.TemporaryDirectory() as folder:
            run(self.cmake, "-G", "Ninja", "-S", self.source, "-B", folder,
                f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={self.cxx}")
            run(self.cmake, "--build", folder)
            self.check_output(f"{folder}/consumer", prefix, f"find_package works with the {name}")

    def pkg_config(self, name, prefix):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.dirname(only(f"{prefix}/lib/**/infrastructure.pc"))
            every = run("pkg-config", "--libs", "infrastructure", PKG_CONFIG_PATH=path)
            check(re.findall("-linfrastructure_([a-z]+)", every) == ["link", "media", "board", "core"],
                  "pkg-config knows all libraries", every)
            flags = run("pkg-config", "--cflags", "--libs", "infrastructure-link",
                        PKG_CONFIG_PATH=path)
            run(self.cxx, "-std=c++17", f"{self.source}/main.cpp", "-o", f"{folder}/consumer",
                *shlex.split(flags))
            self.check_output(f"{folder}/consumer", prefix, f"pkg-config works with the {name}")


def check_tools(prefix):
    for tool in sorted(os.listdir(f"{prefix}/bin")):
        check(os.path.exists(f"{prefix}/share/man/man1/{tool}.1"), f"{tool} has a manual page")
    for tool in WITH_OPTIONS:
        # Found without a word of where the library is.
        told = set(re.findall(r"--([a-z0-9]+)\b(?!-)", run(f"{prefix}/bin/{tool}", "--help",
                                                          LD_LIBRARY_PATH="")))
        with open(f"{prefix}/share/man/man1/{tool}.1", encoding="utf-8") as page:
            written = set(re.findall(r"^\.It.*Fl Fl (\S+)", page.read(), re.MULTILINE))
        check(told == written, f"the options of {tool} are those of its page", (told, written))
        refused = subprocess.run([f"{prefix}/bin/{tool}", "--nonsense"], capture_output=True,
                                 text=True, timeout=300, check=False, cwd=prefix)
        check(refused.returncode == 2 and "nonsense" in refused.stderr,
              f"{tool} refuses an option that it does not have", refused)


def unpack_packages(build, folder, cmake_folder):
    """Packs, checks what the packages ask for, and unpacks them all in one place."""
    run(f"{cmake_folder}/cpack", "--config", f"{build}/CPackConfig.cmake",
        "-G", "DEB", "-B", folder)
    depends = {}
    for package in glob.glob(f"{folder}/*.deb"):
        name, version, text = run("dpkg-deb", "-W", "--showformat",
                                  "${Package}|${Version}|${Depends}", package).split("|", 2)
        depends[name] = set(text.split(", "))
        run("dpkg", "-x", package, f"{folder}/root")
    runtime = only(f"{folder}/root/usr/lib/**/libinfrastructure_core.so.?.?")
    runtime = "libinfrastructure" + runtime.rsplit(".so.", 1)[1]
    same = f"{runtime} (= {version})"
    check(depends.keys() == {runtime, "libinfrastructure-dev", "infrastructure-tools"},
          "there are three packages", depends.keys())
    check(same in depends["libinfrastructure-dev"] and same in depends["infrastructure-tools"],
          "they go with their own version of the library", depends)
    check(any(d.startswith("qtbase5-dev") for d in depends["libinfrastructure-dev"]),
          "development brings Qt", depends)
    for package in runtime, "infrastructure-tools":
        check(any(d.startswith("libqt5core5a ") for d in depends[package]),
              f"the libraries that {package} needs have been found", depends)
    return f"{folder}/root/usr"


def main(build, source, cmake, cxx):
    consumer = Consumer(source, cmake, cxx)
    with tempfile.TemporaryDirectory() as folder:
        prefix = f"{folder}/prefix"
        run(cmake, "--install", build, "--prefix", prefix)
        consumer.find_package("installed tree", prefix)
        consumer.pkg_config("installed tree", prefix)
        check_tools(prefix)
        packed = unpack_packages(build, f"{folder}/packages", os.path.dirname(cmake))
        consumer.find_package("unpacked packages", packed)


if __name__ == "__main__":
    main(*sys.argv[1:])
