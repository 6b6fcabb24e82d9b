// An NP that keeps nothing and records everything: the vf_ functions of the tests that look at single commands.
// Each vf_call is one line of the log, e.g. "set_port_param(1, 0x800000ff, 0x173, 1, 0, 2, 0x8100, 0, 0xc001)": numbers up
// to 9 in decimal, others in hex, blocks as hex digits, the commands of a chain joined with " + ".
#pragma once

#include <string>
#include <vector>

#include "core/types.h"

namespace recorder {

using zelfdb::i32;
using zelfdb::u32;
using zelfdb::u8;

// How a command fails: not delivered (vf_call is not 0), refused by the NP (its status is not 0), or both.
enum class Failure { delivery, status, both };

// Everything forgotten: log, failures, answers, counts.
void reset();

std::vector<std::string>& log();
// The log's lines of one kind, e.g. "addFDB".
std::vector<std::string> log_of(const std::string& kind);

// From now on the nth command of that kind (1 = the next; "" = of any kind) fails, and the times - 1 after it.
// A command that is sent again counts again.
void fail(const std::string& kind, Failure how, u32 nth = 1, u32 times = 1);
void fail_always(Failure how);

// What the readers answer.
void answer_add(int result);     // vf_rd_addFDB
void answer_remove(int result);  // vf_rd_removeFDB
// vf_rd_findFDB: status, then the tick that the NP stands at and the entry's last hit.
void answer_find(u32 status, u32 current_tick_ms, u32 last_hit_ms);
// The same for one address only, before the common answer.
void answer_find_for(const u8 mac[6], u32 status, u32 current_tick_ms, u32 last_hit_ms);
void answer_stream_info(int result, const std::vector<u32>& words);  // 18
void answer_stream_busy(int result, const std::vector<u32>& words);  // 3
void answer_err(int number);                                         // vf_rd_err

// The next builders return null.
void fail_builders(u32 times);
// The next vf_init calls return null.
void fail_init(u32 times);

u32 init_calls();
u32 release_calls();
u32 err_reads();  // calls of vf_rd_err
u32 commands_built();
u32 commands_not_freed();  // built, and not handed to vf_cmdNFreeB
u32 calls_with_null_handle();
u32 calls_without_the_main_lock();  // since the environment's last reset

// The first four bytes of the handle that the last vf_init returned.
const u8* last_handle();

}  // namespace recorder
