// The ids strapped on the boards' GPIO pins (Linux sysfs GPIO).
#pragma once

/// The level of an exported pin, 0 or 1; -1, with a line on stderr, if it can't be read.
int readGpio(unsigned number);

/// The id of a board: 0 main, 1 mezzanine, 2 front panel, 3 the fourth board. Its pins are read
/// once. -1 for any other index, or if a pin can't be read; the next call then tries again.
int getBoardId(int index);
