// Thread-local storage the library reads on hot paths.
#pragma once

// Places a small thread-local variable in the static TLS block, reached by
// a fixed offset from the thread pointer, instead of the general model's
// call into the dynamic loader on every access. Keep such variables to a
// few bytes in all: a library loaded after start-up takes them from the
// small reserve the loader keeps for that.
#define TARNKIT_HOT_TLS __attribute__((tls_model("initial-exec")))
