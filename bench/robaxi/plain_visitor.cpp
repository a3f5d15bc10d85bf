// The peer of robaxi_start_bench: connects to a tcp_peer::Server and makes one call.
#include "far_end.h"
#include "tcp_peer.h"

#include <cstdlib>

int main(int argc, char** argv) {
    const int port = argc == 2 ? std::atoi(argv[1]) : 0;
    tcp_peer::Client client(port);
    client.call();
    bench::serveAt(0, port);
    return EXIT_SUCCESS;
}
