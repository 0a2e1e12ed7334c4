#include "Platform/Operation.h"
