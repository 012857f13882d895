// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/qglobal.h>

// The library is built with hidden visibility: what carries this macro is the whole binary interface.
#ifdef VMDATABASE_BUILDING_LIBRARY
#    define VMDATABASE_EXPORT Q_DECL_EXPORT
#else
#    define VMDATABASE_EXPORT Q_DECL_IMPORT
#endif
