// All the key classes of the product family's settings in one include.
#pragma once

#include "tarnkit/registrykeys/ambryregistry.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/registrykeys/configmgrregistry.h"
#include "tarnkit/registrykeys/kvsregistry.h"
#include "tarnkit/registrykeys/loggingregistry.h"
#include "tarnkit/registrykeys/odbcregistry.h"
#include "tarnkit/registrykeys/serverregistry.h"
#include "tarnkit/registrykeys/sharedtoolsregistry.h"
#include "tarnkit/registrykeys/transportregistry.h"
#include "tarnkit/registrykeys/webconnectorregistry.h"
