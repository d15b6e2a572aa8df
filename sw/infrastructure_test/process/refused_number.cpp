// Does not compile, and says why: a numeric leaf of a type that there is none for.
#include "infrastructure/datacore/DatacoreNumberSetLimits.h"

DatacoreNumberSetLimits<signed char> leaf(QStringLiteral("leaf"), nullptr);
