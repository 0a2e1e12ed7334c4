#include "Platform/Queue.h"
