// Does not compile, and says why: no numeric leaf exists for this type.
#include "infrastructure/datacore/DatacoreNumberSetLimits.h"

DatacoreNumberSetLimits<signed char> leaf(QStringLiteral("leaf"), nullptr);
