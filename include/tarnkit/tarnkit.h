// Everything the library offers, in one include.
#pragma once

#include "tarnkit/platform.h"

// Foundation
#include "tarnkit/cswrapper.h"
#include "tarnkit/interlocked.h"
#include "tarnkit/refcount.h"
#include "tarnkit/sexception.h"
#include "tarnkit/splat.h"
#include "tarnkit/ssystem.h"
#include "tarnkit/stimer.h"
#include "tarnkit/strace.h"

// Strings
#include "tarnkit/UTFConverter.h"
#include "tarnkit/codesetconverter.h"
#include "tarnkit/neutralstring.h"
#include "tarnkit/schar.h"
#include "tarnkit/sresstring.h"
#include "tarnkit/sscanstring.h"
#include "tarnkit/sstringconv.h"
#include "tarnkit/sstringhelper.h"
#include "tarnkit/sstringimpl.h"
#include "tarnkit/strtok.h"

// Containers
#include "tarnkit/sarray.h"
#include "tarnkit/simplebuffer.h"
#include "tarnkit/sinvalidparameter.h"
#include "tarnkit/smap.h"
#include "tarnkit/sset.h"

// Time
#include "tarnkit/civiltables.h"
#include "tarnkit/sdatetime.h"
#include "tarnkit/slocale.h"
#include "tarnkit/stimezone.h"

// Configuration
#include "tarnkit/cparamlineargs.h"
#include "tarnkit/registry.h"
#include "tarnkit/registryexport.h"
#include "tarnkit/registrykeys/registrykeys.h"
#include "tarnkit/senv.h"

// Files
#include "tarnkit/sfile.h"
#include "tarnkit/sfilesearch.h"
#include "tarnkit/sfilesys.h"
