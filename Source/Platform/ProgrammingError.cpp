#include "Platform/ProgrammingError.h"
