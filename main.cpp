#include "frame/frame.h"

int main(int argc, char** argv) { return gf_processEntry(argc, argv); }
