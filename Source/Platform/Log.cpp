#include "Platform/Log.h"
