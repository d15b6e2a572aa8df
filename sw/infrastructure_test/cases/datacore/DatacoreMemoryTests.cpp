// What a leaf takes on the heap, on either width of pointers.
#include "infrastructure/datacore/DatacoreNumber.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <cstddef>
#include <deque>

#include <malloc.h>

/// There with the sanitizers, whose heap the C library knows nothing of.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace {

std::size_t bytesInUse()
{
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return __sanitizer_get_current_allocated_bytes();
    }
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd; // of the heap, and mapped for one block each
}

} // namespace

TEST_CASE("A leaf takes little memory, its name and its place in the tree included", "[datacore]")
{
    constexpr int count = 100000;    // the table of children has just been doubled
    const QString value = "12345"_s; // one text for all
    const std::size_t before = bytesInUse();
    DatacoreBase root("root"_s, nullptr);
    std::deque<DatacoreNumber<int>> leaves;
    for (int i = 0; i < count; ++i) {
        leaves.emplace_back(QStringLiteral("leaf%1").arg(i, 5, 10, QLatin1Char('0')), &root);
        leaves.back().setData(value);
    }
    root.takeChangedList();
    const double bytes = static_cast<double>(bytesInUse() - before) / count;
    CAPTURE(bytes);
    CHECK(bytes < (sizeof(void*) == 8 ? 250 : 150));
    CHECK(bytes > 60); // or nothing was counted
}
