// The bytes of the two segments as a big-endian processor has them, so that one set of golden bytes serves every processor.
#pragma once

#include <vector>

#include "core/types.h"

namespace zelfdb {

std::vector<u8> big_endian_main(const std::vector<u8>& native, u32 nport, u32 nvlan, u32 nfil);
std::vector<u8> big_endian_fdb(const std::vector<u8>& native);

}  // namespace zelfdb
