// The keys that make Explorer load the handler for files, directories, folders and shortcuts.
#pragma once

namespace quillet {

// Results are ignored on purpose: a key that cannot be written or deleted does not stop the
// others, and does not change what registration returns.
void WriteShellHandlerKeys();
void DeleteShellHandlerKeys();

} // namespace quillet
