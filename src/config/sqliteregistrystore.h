// The settings store kept in SQLite files: one for the machine, one per
// user. Safe for many processes at once (write-ahead log, waiting on a busy
// store) and durable: every write, and every transaction, is committed with
// a sync, so a crash leaves a write whole or absent.
//
// Where the files live:
//   HKEY_LOCAL_MACHINE  $TARNKIT_REGISTRY_DIR/registry.db, else
//                       /var/lib/tarnkit/registry.db
//   HKEY_CURRENT_USER   $XDG_CONFIG_HOME/tarnkit/registry.db (~/.config when
//                       unset)
//   other roots         none: every operation answers "not found"
// The environment is read whenever a key is opened from a root, so a test or
// tool that sets it first gets its own store. Directories and files are made
// on the first write, never by a read.
//
// Key and value names compare with ASCII letters folded to lower case and
// every other byte exact, in every process whatever its locale; the first
// spelling is kept for display. Text is kept as UTF-8.
#pragma once

#include "config/registrystore.h"

#include <string>

namespace TarnkitA201 {

IRegistryStore &SqliteRegistryStore();

// The file that holds a root's keys now; empty for a root without a store.
std::string RegistryStoreFile(HKEY root);
// Pins a root's store to a file, overriding the environment; an empty name
// goes back to the environment and the defaults.
void SetRegistryStoreFile(HKEY root, const std::string &file);

} // namespace TarnkitA201
