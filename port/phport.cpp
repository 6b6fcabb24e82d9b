// Physical ports: reading and shaping them.
#include "core/call.h"
#include "np/port_commands.h"

int zelfdb_get_phinfo(uint32_t phport_id, zelfdb_phinfo* info, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    const Phport* const phport = call.phport(phport_id);
    if (!phport) return call.fail(ZELFDB_NO_PHPORT);

    *info = {phport->ID, phport->shaping_rate, phport->shaping_param2};
    return 0;
}

int zelfdb_set_ph_shaping(uint32_t phport_id, uint32_t shaping_rate, uint32_t shaping_param2, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Phport* const phport = call.phport(phport_id);
    if (!phport) return call.fail(ZELFDB_NO_PHPORT);

    phport->shaping_param2 = shaping_param2;
    phport->shaping_rate = shaping_rate;
    set_ph_shaping_to_NP(call.descriptor(), phport_id, shaping_rate, shaping_param2);
    return 0;
}
