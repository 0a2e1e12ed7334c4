#include "Lumo/TarnLumoAdSequence.h"
