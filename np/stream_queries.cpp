#include "np/stream_queries.h"

namespace zelfdb {
namespace {

// The command is the caller's to free, answered or not.
QueryResult ask(const Descriptor& d, vf_cmd* command)
{
    const int call_result = vf_call(d.NP, 0, command, 0, 0);
    const bool refused = status_of(command) != 0;
    if (refused) vf_rd_err(command);
    return {call_result == 0 && !refused, call_result};
}

}  // namespace

QueryResult get_stream_info_from_NP(const Descriptor& d, u32 streamno, u32 (&answer)[18])
{
    vf_cmd* const command = vf_mk_get_stream_info(streamno);
    if (!command) return {false, -1};
    const QueryResult result = ask(d, command);
    if (result.answered) vf_rd_get_stream_info(command, answer);
    vf_cmdNFreeB(command);
    return result;
}

QueryResult get_stream_busy_info_from_NP(const Descriptor& d, u32 streamno, u32 (&answer)[3], bool& read)
{
    vf_cmd* const command = vf_mk_get_stream_busy_info(streamno);
    if (!command) return {false, -1};
    const QueryResult result = ask(d, command);
    read = result.answered && vf_rd_get_stream_busy_info(command, answer) == 0;
    vf_cmdNFreeB(command);
    return result;
}

}  // namespace zelfdb
