// liveries/scan.h — the scan of the simulator's aircraft folders: the folders in order, the walk of
// each folder tree, and the worker threads that read the aircraft.cfg and sim.cfg files in parallel.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Walks one folder tree and appends the liveries of every aircraft.cfg and sim.cfg to
// liveries.liveryList, in the order the files were found, whichever worker ends first. At most
// runPaths.hardwareThreads workers run at once. Never throws; stops taking new files when the run is
// being stopped, and waits for the workers already running. The message line shows the files read.
void lf_scanFolder(int32_t level, const std::filesystem::path& folder);

// The folders of a scan, one level each (1 to 10), after the don't-use titles are read and, in
// automatic mode, the folders of the installed add-ons added. False when the run was being stopped:
// the list then holds a part of the liveries and must not be saved.
bool gf_scanLiveryFolders(bool automatic, std::vector<std::string> folders, size_t& folderCount);
