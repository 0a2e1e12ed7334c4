#include "Platform/Error.h"
