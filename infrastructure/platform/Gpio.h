// The ids that are strapped on the boards' GPIO pins (Linux sysfs GPIO).
#pragma once

/// The level of an exported pin, 0 or 1; -1, with a line on stderr, if it can't be read.
int readGpio(unsigned number);

/// The id of a board: 0 main, 1 mezzanine, 2 front panel, 3 the fourth board. An id is read from
/// its pins once; -1 for another index, or where a pin can't be read, which the next call tries
/// again.
int getBoardId(int index);
