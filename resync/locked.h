// Both locks, for as long as the database and the NP are looked at together.
#pragma once

#include "core/critical.h"

namespace zelfdb {

class Locked {
public:
    Locked()
    {
        begin_critical();
        begin_critical_fdb();
    }
    ~Locked()
    {
        end_critical_fdb();
        end_critical();
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

}  // namespace zelfdb
