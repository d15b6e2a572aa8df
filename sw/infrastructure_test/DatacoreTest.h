// Where the reference material of the cases lies.
#pragma once

#include <QString>

/// Set once, before the cases run; empty until then.
struct DatacoreTest
{
    static QString testSourceDirectory;
};
