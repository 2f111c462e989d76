// SPDX-License-Identifier: GPL-3.0-or-later
#include "FuzzChecks.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    kestrel::fuzz::checkPicture(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    return 0;
}
