// SPDX-License-Identifier: MIT
//
// The database map: which database the files of a directory belong to, as the
// variable 4GL_DB_MAP sets it.  Z4DBFromPath looks paths up in it.
#ifndef FSI_4GL_KST4GL_DBMAP_H
#define FSI_4GL_KST4GL_DBMAP_H

#include <cstdint>

namespace fsi {

// Change handler of 4GL_DB_MAP.  "DIRECTORY=DATABASE" adds one mapping to those
// that are there; null or an empty text drops all.  Always 0.
int db_map_handler(const char *name, void *value, int16_t short_value, int announce);

}  // namespace fsi

#endif
