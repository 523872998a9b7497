// SPDX-License-Identifier: MIT
//
// From the name a program gives its file to the open dictionary: directories,
// forms of the name, suffixes.  What the name map makes of a name is fsivars'
// business, what stands in the file is the readers'.
#ifndef FSI_4GL_KST4GL_LOCATE_H
#define FSI_4GL_KST4GL_LOCATE_H

#include "fsi/4gl/kst4gl/load.h"
#include "fsi/base/owner.h"

namespace fsi {

// Searches the directories of XFD_PREFIX, or XFD_DIRECTORY alone when that is
// not set, and opens the first dictionary found; x_filename is then its path.
//   kDone       `file` is open
//   kNotOpened  nothing was found; errno is the last attempt's
//   kNoMemory   memory was refused (errno ENOMEM); the search ended there.  A
//               refused copy of the path ends its attempt only.
// XFD_DIRECTORY has its earlier text afterwards (its first 255 characters), or
// is unset again; only if memory for that text is refused it keeps the
// directory searched last, and the result is kNoMemory.
LoadStatus open_dictionary(const char *cobol_name, Xfd *xfd, OwnedFile &file);

}  // namespace fsi

#endif
