#pragma once

#include "tests/support/guard.h"
