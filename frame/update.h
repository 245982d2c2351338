// frame/update.h — the daily check of the program, the aircraft database, the registration codes and the
// airport archive against the update server, and the report behind the button "Check version".
// Everything runs on the calling thread, before the main loop.
#pragma once

#include <ctime>
#include <string>

// "NOV232026": month in capitals, the two characters of the day of the month as asctime writes them
// (a leading blank below the 10th), the year; of a UTC time.
std::string gf_dateText(std::time_t utc);

// At every start, inside the reading of all data: fetches what is newer at the first start of a day (or
// what is missing), and reads the database and the fixes once per process behind the database step.
// A newer program throws UserErrorException 99 after its installer has arrived.
void gf_dailyDataCheck();

// "New version{} for: {}" with what the server has newer; empty when all is up to date.
std::string gf_newVersionsText();

// The button "Check version", on the window thread: reports what is newer, and when something is, clears
// DATA_CHECKED_AT_DATE so that the next start fetches it. The button is disabled behind it.
void gf_checkVersionPressed();
