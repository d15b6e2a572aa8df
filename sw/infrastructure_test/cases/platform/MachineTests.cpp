#include "infrastructure/platform/Machine.h"
#include "sw/infrastructure_test/MadeMachine.h"

#include "sw/infrastructure_test/Catch.h"

#include <fcntl.h>

#include <cerrno>

using Tessorn::Machine;
using Tessorn::MachineFile;

TEST_CASE("The machine in use is the real one unless a case makes another", "[platform]")
{
    Machine& real = Machine::current();
    CHECK(real.hostPath("/proc/mtd") == "/proc/mtd");
    CHECK(real.run({"/bin/sh", "-c", "exit 3"}) == 3);
    CHECK(real.run({"/bin/sh", "-c", "kill -9 $$"}) == -1);
    CHECK(real.run({"/nowhere/at/all"}) == -1);
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
        CHECK(file.readAll(start, 3));
        CHECK(start == "tex");
        char rest[2];
        CHECK_FALSE(file.readExactly(rest, 2));
        CHECK(errno == ENODATA);
    }
    CHECK(&Machine::current() == &real);
}
