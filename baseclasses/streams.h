#pragma once

/// @file
/// The one header to include: the part of the DirectShow base-class library that transform filters
/// and property pages use, under its documented names. All of it is in the global namespace, like
/// the platform's interfaces.

#include "baseclasses/amfilter.h"
#include "baseclasses/amfilter_enum.h"
#include "baseclasses/amfilter_input_pin.h"
#include "baseclasses/amfilter_output_pin.h"
#include "baseclasses/amfilter_pin.h"
#include "baseclasses/combase.h"
#include "baseclasses/cprop.h"
#include "baseclasses/dllentry.h"
#include "baseclasses/dllsetup.h"
#include "baseclasses/mtype.h"
#include "baseclasses/transfrm.h"
#include "baseclasses/transfrm_pins.h"
#include "baseclasses/vtrans.h"
#include "baseclasses/wxutil.h"
#include "platform/dshow.h"
