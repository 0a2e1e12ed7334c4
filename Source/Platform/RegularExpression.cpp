#include "Platform/RegularExpression.h"
