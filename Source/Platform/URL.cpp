#include "Platform/URL.h"
