#include "liveries/state.h"

// The similar tables follow the liveries of the run; the rest of the database stays for the process.
void gf_resetLiveries() {
    dbase.similarPresent.clear();
    dbase.similarByAirline.clear();
}
