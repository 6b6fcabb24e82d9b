// The log of commands: a ring that keeps the newest. The text is made when it is read, not when it is written.
#include "log.h"
#include "device.h"

#include <unistd.h>
#include <algorithm>
#include <cstring>

namespace softnp {

namespace {

u64 oldest_serial(const Log& log)
{
    return log.next_serial > SOFTNP_LOG_ENTRIES ? log.next_serial - SOFTNP_LOG_ENTRIES : 0;
}

CommandView view_of(const LogRecord& record)
{
    return {static_cast<Kind>(record.kind),
            record.args,
            record.words,
            record.payload,
            std::min(record.payload_size, LOG_PAYLOAD),
            record.payload_size};
}

void fill_entry(softnp_log_entry& entry, const LogRecord& record, u64 serial)
{
    entry.serial = serial;
    entry.tick_ms = record.tick_ms;
    entry.process_id = record.process_id;
    entry.chain_index = record.chain_index;
    entry.error = record.error;
    describe(view_of(record), entry.text, sizeof entry.text);
}

}  // namespace

void log_command(State& state, const vf_cmd& command, u32 tick_ms, u32 chain_index, int error)
{
    LogRecord& record = state.log.record[state.log.next_serial % SOFTNP_LOG_ENTRIES];
    record.tick_ms = tick_ms;
    record.process_id = static_cast<u32>(getpid());
    record.chain_index = chain_index;
    record.error = error;
    record.kind = static_cast<u32>(command.kind);
    record.payload_size = command.payload_size;
    std::memcpy(record.args, command.args, sizeof record.args);
    std::memcpy(record.words, command.words, sizeof record.words);
    std::memcpy(record.payload, payload_of(command), std::min(command.payload_size, LOG_PAYLOAD));
    state.log.next_serial++;
}

}  // namespace softnp

using namespace softnp;

int softnp_log_read(uint64_t* cursor, uint64_t* lost, softnp_log_entry* entry)
{
    if (!cursor || !entry) return -1;
    const Access device;
    if (!device) return -1;
    const Log& log = device->log;
    const u64 serial = std::max(*cursor, oldest_serial(log));
    if (lost) *lost += serial - *cursor;
    *cursor = serial;
    if (serial >= log.next_serial) return 0;
    fill_entry(*entry, log.record[serial % SOFTNP_LOG_ENTRIES], serial);
    *cursor = serial + 1;
    return 1;
}

int softnp_log_end(uint64_t* serial)
{
    if (!serial) return -1;
    const Access device;
    if (!device) return -1;
    *serial = device->log.next_serial;
    return 0;
}
