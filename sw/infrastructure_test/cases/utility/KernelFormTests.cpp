#include "infrastructure/utility/KernelForm_p.h"
#include "sw/infrastructure_test/Catch.h"

#include <QtGlobal>

#include <thread>

namespace {

struct NamedKernels
{
    const char* name;
    static const NamedKernels& of(PlainForm)
    {
        static constexpr NamedKernels PLAIN{"plain"};
        return PLAIN;
    }
    static const NamedKernels& of(VectorForm)
    {
        static constexpr NamedKernels VECTOR{"vector"};
        return VECTOR;
    }
};

} // namespace

TEST_CASE("A form of kernels is forced for as long as asked", "[kernels]")
{
    const auto name = [] { return std::string(getKernels<NamedKernels>().name); };
    const std::string fast = hasVectorKernels() ? "vector" : "plain";
    const bool plainByEnvironment = qgetenv("INFRASTRUCTURE_KERNELS") == "plain";
    const std::string usual = plainByEnvironment ? "plain" : fast;
    CHECK(name() == usual);
    {
        const ForcedKernels plain(KernelForm::Plain);
        CHECK(name() == "plain");
        std::string ofThread;
        std::thread([&] { ofThread = name(); }).join();
        CHECK(ofThread == "plain");
        {
            const ForcedKernels vector(KernelForm::Vector);
            CHECK(name() == fast);
        }
        CHECK(name() == "plain");
    }
    CHECK(name() == usual);
}
