// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "nextfunction.h"

#include "recordfile.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>

// Looks in one loaded file, which dlopen() may have kept from everybody else.
static int findIn(dl_phdr_info *info, size_t, void *data)
{
    auto *const search = static_cast<std::pair<const char *, void *> *>(data);
    const char *const file = std::strrchr(info->dlpi_name, '/');
    if (!file || std::strncmp(file, "/libvmdatabase.so", 17) != 0)
        return 0;
    if (void *const handle = dlopen(info->dlpi_name, RTLD_LAZY | RTLD_NOLOAD))
        search->second = dlsym(handle, search->first); // not closed: it has to stay where it is
    return search->second != nullptr;
}

void *nextFunction(const char *name)
{
    std::pair<const char *, void *> search{name, dlsym(RTLD_NEXT, name)};
    if (!search.second)
        dl_iterate_phdr(findIn, &search);
    if (!search.second) {
        complain(QByteArray("libvmdatabase.so has no ") + name);
        std::abort();
    }
    return search.second;
}

const char *nameOfFunction(const void *function)
{
    Dl_info info{};
    if (dladdr(function, &info) == 0 || info.dli_saddr != function) {
        complain("cannot find the names of its own functions");
        std::abort();
    }
    return info.dli_sname;
}

QString valueOf(void *record, const char *getValue, int key)
{
    // As a member function is called: first the object.
    return reinterpret_cast<QString (*)(void *, int)>(nextFunction(getValue))(record, key);
}
