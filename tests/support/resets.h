// tests/support/resets.h — one call that resets every subsystem's globals, as a new process has them.
#pragma once

void gf_resetAllSubsystems();
