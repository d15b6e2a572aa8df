// The location of the cases' reference material.
#pragma once

#include <QString>

/// Set once, before the cases run; empty until then.
struct DatacoreTest
{
    static QString testSourceDirectory;
};
