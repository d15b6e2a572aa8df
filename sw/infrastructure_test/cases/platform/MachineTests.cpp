#include "infrastructure/platform/Machine_p.h"
#include "sw/infrastructure_test/MadeMachine.h"

#include "sw/infrastructure_test/Catch.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

using Tessorn::Machine;
using Tessorn::MachineFile;

TEST_CASE("The machine in use is the real one unless a case makes another", "[platform]")
{
    Machine& real = Machine::current();
    CHECK(real.hostPath("/proc/mtd") == "/proc/mtd");
    CHECK(real.run({"/bin/sh", "-c", "exit 3"}) == 3);
    CHECK(real.run({"/bin/sh", "-c", "kill -9 $$"}) == -1);
    uid_t user = 1;
    gid_t group = 1;
    CHECK(real.findUser("root", user, group) == 0);
    CHECK(user == 0);
    CHECK(real.findUser("no such user", user, group) == -1);
    CHECK(errno == ENOENT);
    {
        MadeMachine made;
        CHECK(&Machine::current() == &made);
        CHECK(made.hostPath("relative/path") == "relative/path");
        made.writeFile("/a/b", "text");
        MachineFile file(made, "/a/b", O_RDONLY);
        QByteArray start;
        CHECK_FALSE(file.readAll(start, 3)); // the head of a file is not taken for all of it
        CHECK(errno == EFBIG);
        made.seek(file.getDescriptor(), 0);
        CHECK(file.readAll(start, 4));
        CHECK(start == "text");
        made.seek(file.getDescriptor(), 3);
        char rest[2];
        CHECK_FALSE(file.readExactly(rest, 2));
        CHECK(errno == ENODATA);
    }
    CHECK(&Machine::current() == &real);
}

// Left out where vfork is a plain fork (memcheck, user-mode emulation): there the child's failure
// can't reach its parent.
TEST_CASE("A program that isn't there can't be run", "[platform][vfork]")
{
    CHECK(Machine::current().run({"/nowhere/at/all"}) == -1);
    CHECK(errno == ENOENT);
}

TEST_CASE("A file beyond 4 GiB has its size, and a place in it is found", "[platform]")
{
    constexpr int64_t SIZE = 0x140000000;
    MadeMachine made;
    made.writeFile("/large", "");
    REQUIRE(::truncate(made.hostPath("/large").c_str(), SIZE) == 0);
    struct stat status
    {
    };
    REQUIRE(made.status("/large", status) == 0);
    CHECK(status.st_size == SIZE);
    MachineFile file(made, "/large", O_RDONLY);
    CHECK(made.seek(file.getDescriptor(), SIZE - 1) == SIZE - 1);
    char last = 'x';
    CHECK(file.readExactly(&last, 1));
    CHECK(last == 0);
    CHECK_FALSE(file.readExactly(&last, 1));
}
