#include "Lumo/TarnLumoTimelineOperation.h"
