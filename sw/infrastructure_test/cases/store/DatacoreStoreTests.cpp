#include "sw/infrastructure_test/Catch.h"
