// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QDebug>

// The one way to make a log line: category "default", no file, line or function, items streamed one by one so that Qt's
// spacing and quoting apply. The texts are interface: people search logs for them.
namespace Log {

QDebug info();
QDebug critical();

/// Lines that begin with the bracketed name of the operation.
QDebug info(const char *operation);
QDebug critical(const char *operation);

/// The critical line that follows some reports and names the place that made them. The signature is a literal of the
/// caller's since compilers print signatures differently; the line is that of the call.
void errorLocation(const char *operation, const char *signature, int line = __builtin_LINE());

} // namespace Log
