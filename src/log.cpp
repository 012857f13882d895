// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "log_p.h"

QDebug Log::info()
{
    return QMessageLogger(nullptr, 0, nullptr).info();
}

QDebug Log::critical()
{
    return QMessageLogger(nullptr, 0, nullptr).critical();
}

QDebug Log::info(const char *operation)
{
    return info() << "[" << operation << "]";
}

QDebug Log::critical(const char *operation)
{
    return critical() << "[" << operation << "]";
}

void Log::errorLocation(const char *operation, const char *signature, int line)
{
    critical(operation) << "error occur in: " << signature << "--" << line;
}
