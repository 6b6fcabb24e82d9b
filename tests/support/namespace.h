#pragma once

// Moves the process into a new, empty IPC namespace (through a user namespace when it is not root).
bool enter_ipc_namespace();
