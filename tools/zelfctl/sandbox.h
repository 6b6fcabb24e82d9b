// An IPC namespace of one's own: a database and a network processor that nobody else sees, gone with the last process.
#pragma once

namespace zelfctl {

// Moves this process there, through a user namespace if it is not root. False after a message.
bool enter_sandbox();

}  // namespace zelfctl
