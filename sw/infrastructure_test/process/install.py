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
WITH_OPTIONS = ("datacore_client", "datacore_server", "show_captions")


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


def consume(name, prefix, consumer, cmake, cxx):
    """Builds the consumer in both ways against what is below the prefix, and runs it."""
    library_path = os.path.dirname(glob.glob(f"{prefix}/lib/**/libinfrastructure.*",
                                             recursive=True)[0])
    with tempfile.TemporaryDirectory() as folder:
        run(cmake, "-G", "Ninja", "-S", consumer, "-B", folder, f"-DCMAKE_PREFIX_PATH={prefix}",
            f"-DCMAKE_CXX_COMPILER={cxx}")
        run(cmake, "--build", folder)
        check(run(f"{folder}/consumer", LD_LIBRARY_PATH=library_path) == EXPECTED,
              f"{name} serves find_package")

        path = os.path.dirname(only(f"{prefix}/lib/**/infrastructure.pc"))
        flags = run("pkg-config", "--cflags", "--libs", "infrastructure", PKG_CONFIG_PATH=path)
        run(cxx, "-std=c++17", f"{consumer}/main.cpp", "-o", f"{folder}/plain",
            *shlex.split(flags))
        check(run(f"{folder}/plain", LD_LIBRARY_PATH=library_path) == EXPECTED,
              f"{name} serves pkg-config")


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


def check_packages(build, folder):
    """Packs, checks what the packages ask for, and unpacks them all in one place."""
    run(os.path.join(os.path.dirname(CMAKE), "cpack"), "--config", f"{build}/CPackConfig.cmake",
        "-G", "DEB", "-B", folder)
    depends = {}
    for package in glob.glob(f"{folder}/*.deb"):
        name, version, text = run("dpkg-deb", "-W", "--showformat",
                                  "${Package}\n${Version}\n${Depends}", package).split("\n")
        depends[name] = set(text.split(", "))
        run("dpkg", "-x", package, f"{folder}/root")
    runtime = only(f"{folder}/root/usr/lib/**/libinfrastructure.so.?.?")
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


def main(build, consumer, cxx):
    with tempfile.TemporaryDirectory() as folder:
        prefix = f"{folder}/prefix"
        run(CMAKE, "--install", build, "--prefix", prefix)
        consume("the installed tree", prefix, consumer, CMAKE, cxx)
        check_tools(prefix)
        packages = check_packages(build, f"{folder}/packages")
        consume("the unpacked packages", packages, consumer, CMAKE, cxx)


if __name__ == "__main__":
    BUILD, CONSUMER, CMAKE, CXX = sys.argv[1:]
    main(BUILD, CONSUMER, CXX)
