// The date-time exports work on the toolkit's stamps and conversions.
#pragma once

#include "btkdaytime.h"
