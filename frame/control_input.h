// frame/control_input.h — what a click on a check box or push button and Enter in an edit box do.
// Each runs on the window thread; the parameter a control is bound to is stored and saved at once.
#pragma once

#include <cstdint>
#include <string>

// A check box or push button was clicked (WM_COMMAND with the control's id).
void gf_onControlClicked(uint16_t id);
// Enter in an edit box whose text is now `text` (UTF-8).
void gf_onEditEnter(uint16_t id, const std::string& text);

// Stores a typed integer into its parameter; true when the value changed.
bool gf_procesTbInt(struct ParInt& par, const std::string& text);
// MAX_FIT_FL from a typed number of hours, kept in MAX_FIT as half hours; true when the value changed.
bool gf_procesTbFloat(const std::string& text);
// A parking setting changed: a new calculation within 15 ticks, unless only the initial load counts.
void gf_requestParking();
// The box shows the parameter's value; an edit box's text is its display.
void gf_displayInt(const struct ParInt& par);
void gf_displayFloat(const struct ParFloat& par);
