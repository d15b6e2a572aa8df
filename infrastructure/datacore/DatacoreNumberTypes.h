// The table of types for which the numeric leaves are instantiated.
#pragma once

#include <climits>

// Names go by size: `long` is as wide as `int` on 32-bit machines.
#if LONG_MAX == INT_MAX
#define DATACORE_LONG_WIDTH "32"
#else
#define DATACORE_LONG_WIDTH "64"
#endif

/// Expands ROW(type, part of the class name) for each type.
#define DATACORE_FOR_EACH_NUMBER_TYPE(ROW)                                                         \
    ROW(short, "Int16")                                                                            \
    ROW(int, "Int32")                                                                              \
    ROW(long, "Int" DATACORE_LONG_WIDTH)                                                           \
    ROW(long long, "Int64")                                                                        \
    ROW(unsigned short, "UInt16")                                                                  \
    ROW(unsigned int, "UInt32")                                                                    \
    ROW(unsigned long, "UInt" DATACORE_LONG_WIDTH)                                                 \
    ROW(unsigned long long, "UInt64")                                                              \
    ROW(float, "Float")                                                                            \
    ROW(double, "Double")

/// True for the types of the table.
template <typename T>
constexpr bool IS_DATACORE_NUMBER_TYPE = false;
#define DATACORE_TAKE_TYPE(TYPE, NAME)                                                             \
    template <>                                                                                    \
    inline constexpr bool IS_DATACORE_NUMBER_TYPE<TYPE> = true;
DATACORE_FOR_EACH_NUMBER_TYPE(DATACORE_TAKE_TYPE)
#undef DATACORE_TAKE_TYPE
