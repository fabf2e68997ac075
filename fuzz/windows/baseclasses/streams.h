#pragma once

/// @file
/// Of the base-class library only what negotiation stands on, for the fuzzers' Linux build alone.

#include "baseclasses/mtype.h"
#include "baseclasses/platform.h"
