// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include <vmdatabase/vmdatabase.h>

/// What tst_unload loads and unloads: answers a text of the library's.
extern "C" Q_DECL_EXPORT void ask(QString &text)
{
    VmDatabase db;
    text = db.getItemUuid(0);
}
