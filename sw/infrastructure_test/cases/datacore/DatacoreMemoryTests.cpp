// What a leaf takes on the heap, on either width of pointers.
#include "infrastructure/datacore/DatacoreNumber.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <cstddef>
#include <deque>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>
#endif

namespace {

std::size_t bytesInUse()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd; // of the heap, and mapped for one block each
#endif
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
