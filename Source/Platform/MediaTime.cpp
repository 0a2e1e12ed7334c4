#include "Platform/MediaTime.h"
