#include "Platform/HTTPSession.h"
