#include "Lumo/TarnLumoDocument.h"
