#include "Platform/DateFormatter.h"
