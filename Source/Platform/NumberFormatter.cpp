#include "Platform/NumberFormatter.h"
