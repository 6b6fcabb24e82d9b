#include "fdb/display.h"

#include <cstdio>

namespace zelfdb {

void print_entry(const Fil& fil, const char* label)
{
    const u8(&m)[6] = fil.mac.byte;
    std::printf("%02x:%02x:%02x:%02x:%02x:%02x  ", m[0], m[1], m[2], m[3], m[4], m[5]);
    std::printf("%08x  ", fil.fil_flag);
    std::printf("%s %08x ", label, fil.fil_permit);
    std::printf("   %08lx ", static_cast<unsigned long>(fil.lastValidate));
    std::printf("    %08lx", static_cast<unsigned long>(fil.offset.value));
}

}  // namespace zelfdb
