#pragma once

#include "mmsystem.h"
