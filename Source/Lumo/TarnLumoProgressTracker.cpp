#include "Lumo/TarnLumoProgressTracker.h"
