// updatedouble: the update server double as a program, for the demo.
//   updatedouble --root DIR [--make-from INSTALL] [--dbase V] [--aig V] [--archive V] [--program V]
//                [--port N] [--fault PATH:KIND]...
// --make-from writes DIR/downloads/ from an install folder first. KIND: truncate, 404, 500, version=TEXT,
// stall=MS. Point the program at it with ZARK_UPDATE_URL=http://127.0.0.1:N/downloads/
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/common/stopsignal.h"
#include "tools/updatedouble/double.h"

namespace {
int lf_usage() {
    std::fprintf(stderr,
                 "usage: updatedouble --root DIR [--make-from INSTALL] [--dbase V] [--aig V] [--archive V] "
                 "[--program V] [--port N] [--fault PATH:KIND]...\n");
    return 2;
}
}  // namespace

int main(int argc, char** argv) {
    int port = 8091;
    std::string root, install;
    udbl::TreeVersions versions;
    std::vector<std::string> faults;
    for (int i = 1; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        const std::string arg = argv[i];
        if (!hasValue) return lf_usage();
        const std::string value = argv[++i];
        if (arg == "--root")
            root = value;
        else if (arg == "--make-from")
            install = value;
        else if (arg == "--port")
            port = std::atoi(value.c_str());
        else if (arg == "--dbase")
            versions.dbase = value;
        else if (arg == "--aig")
            versions.aig = value;
        else if (arg == "--archive")
            versions.archive = value;
        else if (arg == "--program")
            versions.program = value;
        else if (arg == "--fault")
            faults.push_back(value);
        else
            return lf_usage();
    }
    if (root.empty()) return lf_usage();
    try {
        if (!install.empty()) udbl::gf_makeDownloadsTree(install, root, versions);
        udbl::UpdateDouble server(root);
        for (const std::string& f : faults) server.addFault(udbl::gf_parseFault(f));
        const int bound = server.start(port);
        std::printf("updatedouble: serving %s/downloads on http://127.0.0.1:%d\n", root.c_str(), bound);
        std::printf("updatedouble: set ZARK_UPDATE_URL=%s for the program\n", server.baseUrl().c_str());
        std::fflush(stdout);
        toolsig::waitForStopSignal();
        server.stop();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
