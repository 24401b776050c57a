// Everything that the module imports from the program that loads it. The module leaves these symbols
// undefined; the host services library defines them in earnest, a test defines them as it likes.
#pragma once

#include "host/calendar.h"
#include "host/clock.h"
#include "host/files.h"
#include "host/log.h"
#include "host/network.h"
#include "host/signing.h"
#include "host/singleton.h"
#include "host/tasks.h"
#include "host/text.h"
#include "host/watch_list.h"
