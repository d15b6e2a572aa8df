#include "sw/infrastructure_test/DatacoreTest.h"

QString DatacoreTest::testSourceDirectory;
