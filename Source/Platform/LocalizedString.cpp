#include "Platform/LocalizedString.h"
