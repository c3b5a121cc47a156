// FFTW's wisdom kept between processes: one file per precision in the user's
// cache folder, keyed by the FFTW version and the machine, written whole
// under a temporary name and renamed into place.
#pragma once

#include <string>

#include "dft/engine/dfti.h"

namespace fennel::planning {

// The folder: FENNEL_DSP_WISDOM_DIR, else $XDG_CACHE_HOME/fennel-dsp, else
// ~/.cache/fennel-dsp.  Empty when wisdom is kept in memory only
// (FENNEL_DSP_WISDOM_DIR set to an empty value, or no home folder).
std::string WisdomFolder();

// One precision's wisdom as text: a header naming the precision, the FFTW
// version, the machine and the length and checksum of FFTW's wisdom, then
// that wisdom.  Empty when FFTW has none.
std::string Pack(DFTI_CONFIG_VALUE precision);
// Imports the first packed wisdom of `text` (of either precision) when its
// header matches this process and its checksum holds; `used` is the length
// read.  False, importing nothing, otherwise.
bool Unpack(const char *text, size_t size, size_t &used);

// Reads the precision's file into FFTW's wisdom; a missing, stale or
// corrupt file is ignored.
bool LoadWisdomFile(DFTI_CONFIG_VALUE precision);
// Merges the file with the process's wisdom and writes the result back
// atomically; false (nothing changed on disk) when the folder cannot be
// made or written.
bool SaveWisdomFile(DFTI_CONFIG_VALUE precision);
// Removes both files; false when one stays.
bool RemoveWisdomFiles();

}  // namespace fennel::planning
