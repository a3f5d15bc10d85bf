// Writes the manual page during the build.
#include "command_line/manual.h"

#include <fstream>

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    std::ofstream file(argv[1]);
    file << robaxi_tool::manualPage();
    file.close();
    return file ? 0 : 1;
}
