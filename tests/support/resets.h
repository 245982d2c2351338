// tests/support/resets.h — one call that resets every subsystem's globals, as a restart would.
#pragma once

void gf_resetAllSubsystems();
