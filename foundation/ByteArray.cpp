// SPDX-License-Identifier: MIT
#include "foundation/ByteArray.h"
