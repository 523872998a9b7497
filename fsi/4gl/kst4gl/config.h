// SPDX-License-Identifier: MIT
//
// Settings of the database interfaces' table that the library reads on hot
// paths.  All others are read by name where they are needed.
#ifndef FSI_4GL_KST4GL_CONFIG_H
#define FSI_4GL_KST4GL_CONFIG_H

namespace fsi {

// 4GL_FULL_DATA_TEST, kept up to date by the host from Z4Init to Z4Exit.
bool full_data_test();

}  // namespace fsi

#endif
