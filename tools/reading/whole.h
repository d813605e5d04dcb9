#pragma once

#include "velmora/support/text/whole.h"
