"""The installed tree and the Debian packages serve a project that knows nothing else, once through
find_package and once through pkg-config; the manual pages name the options that the tools have.

usage: install.py BUILD_FOLDER CONSUMER_FOLDER CMAKE CXX
"""
import glob
import os
import re
import shlex
import sys
import tempfile

from programs import check, run

EXPECTED = """\
config/level = 175 (Stored number is Oversized)
1 Hello World!
1920x1080p50 YCbCr:422:10 3G A Rec.709
"""
WITH_OPTIONS = ("datacore_client", "datacore_gateway", "datacore_server", "make_frame", "replay", "show_captions")


def do(*words, **variables):
    """What a program prints that has to succeed."""
    result = run(*words, **variables)
    check(result.returncode == 0, shlex.join(words), result.stdout + result.stderr)
    return result.stdout


def only(pattern):
    """The one path that fits."""
    found = glob.glob(pattern, recursive=True)
    check(len(found) == 1, f"there is one {pattern}", found)
    return found[0]


def check_consumer(program, prefix, what):
    folder = os.path.dirname(only(f"{prefix}/lib/**/libinfrastructure_core.so"))
    loaded = do("ldd", program, LD_LIBRARY_PATH=folder)
    check(not re.search("libsensors|libsqlite3|libQt5Gui|infrastructure_(board|store)", loaded),
          "a mirror loads neither sensors nor pictures nor a database", loaded)
    output = do(program, LD_LIBRARY_PATH=folder)
    check(output == EXPECTED, what, output)


def check_find_package(prefix, source, cmake, cxx):
    with tempfile.TemporaryDirectory() as folder:
        do(cmake, "-GNinja", "-S", source, "-B", folder, f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={cxx}")
        do(cmake, "--build", folder)
        check_consumer(f"{folder}/consumer", prefix, f"find_package works with {prefix}")


def check_pkg_config(prefix, source, cxx):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.dirname(only(f"{prefix}/lib/**/infrastructure.pc"))
        every = do("pkg-config", "--libs", "infrastructure", PKG_CONFIG_PATH=path)
        check(re.findall("-linfrastructure_([a-z]+)", every) == ["store", "link", "media", "board", "core"],
              "pkg-config knows all libraries", every)
        flags = do("pkg-config", "--cflags", "--libs", "infrastructure-link", PKG_CONFIG_PATH=path)
        do(cxx, "-std=c++17", f"{source}/main.cpp", "-o", f"{folder}/consumer", *shlex.split(flags))
        check_consumer(f"{folder}/consumer", prefix, f"pkg-config works with {prefix}")


def check_tools(prefix):
    for tool in sorted(os.listdir(f"{prefix}/bin")):
        check(os.path.exists(f"{prefix}/share/man/man1/{tool}.1"), f"{tool} has a manual page")
    for tool in (*WITH_OPTIONS, "board_info", "describe_payload", "infrastructure_test"):
        version = do(f"{prefix}/bin/{tool}", "--version", LD_LIBRARY_PATH="")
        check(re.fullmatch(tool + r" \d+\.\d+\.\d+\n", version), f"{tool} tells its version", version)
    for tool in WITH_OPTIONS:
        # Found without a word of where the library is.
        text = do(f"{prefix}/bin/{tool}", "--help", LD_LIBRARY_PATH="")
        told = set(re.findall(r"^ +(?:-\w, )?--([a-z0-9-]+)", text, re.MULTILINE))
        with open(f"{prefix}/share/man/man1/{tool}.1", encoding="utf-8") as page:
            written = set(re.findall(r"^\.It.*Fl Fl (\S+)", page.read(), re.MULTILINE))
        check(told == written, f"the options of {tool} are those of its page", (told, written))
        refused = run(f"{prefix}/bin/{tool}", "--nonsense")
        check(refused.returncode == 2 and "nonsense" in refused.stderr,
              f"{tool} refuses an option that it does not have", refused)


def check_service(prefix):
    for name in ("datacore_server", "datacore_gateway"):
        only(f"{prefix}/lib/systemd/system/{name}.service")
    only(f"{prefix}/share/datacore_gateway/page/index.html")
    script = only(f"{prefix}/share/bash-completion/completions/datacore_client")
    text = do("bash", "-c", f'. "{script}"; COMP_LINE="x wa"; COMP_POINT=4; '
              f'_datacore_client "{prefix}/bin/datacore_client"; echo "${{COMPREPLY[*]}}"')
    check(text == "watch\n", "the shell completes a command of the installed client", text)


def unpack_packages(build, folder, cmake_folder):
    """Packs, checks what the packages ask for, and unpacks them all in one place."""
    do(f"{cmake_folder}/cpack", "--config", f"{build}/CPackConfig.cmake", "-G", "DEB", "-B", folder)
    depends = {}
    for package in glob.glob(f"{folder}/*.deb"):
        name, version, text = do("dpkg-deb", "-W", "--showformat",
                                 "${Package}|${Version}|${Depends}", package).split("|", 2)
        depends[name] = set(text.split(", "))
        do("dpkg", "-x", package, f"{folder}/root")
    runtime = only(f"{folder}/root/usr/lib/**/libinfrastructure_core.so.?.?")
    runtime = "libinfrastructure" + runtime.rsplit(".so.", 1)[1]
    same = f"{runtime} (= {version})"
    others = {"libinfrastructure-dev", "infrastructure-tools", "infrastructure-gateway"}
    check(depends.keys() == {runtime, *others}, "these are the packages", depends.keys())
    check(all(same in depends[package] for package in others),
          "they go with their own version of the library", depends)
    check(any(d.startswith("qtbase5-dev") for d in depends["libinfrastructure-dev"]),
          "development brings Qt", depends)
    for package in runtime, "infrastructure-tools":
        check(any(d.startswith("libqt5core5a ") for d in depends[package]),
              f"the libraries that {package} needs have been found", depends)
    return f"{folder}/root/usr"


def main(build, source, cmake, cxx):
    with tempfile.TemporaryDirectory() as folder:
        prefix = f"{folder}/prefix"
        do(cmake, "--install", build, "--prefix", prefix)
        check_find_package(prefix, source, cmake, cxx)
        check_pkg_config(prefix, source, cxx)
        check_tools(prefix)
        check_service(prefix)
        packed = unpack_packages(build, f"{folder}/packages", os.path.dirname(cmake))
        check_find_package(packed, source, cmake, cxx)


main(*sys.argv[1:])
