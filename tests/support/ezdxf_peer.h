// Runs tests/support/ezdxf_peer.py, the geometry's independent peer.
#ifndef CADSERV_TESTS_SUPPORT_EZDXF_PEER_H
#define CADSERV_TESTS_SUPPORT_EZDXF_PEER_H

#include <string>
#include <vector>

namespace cadserv_test {

// Asks the peer one question a line (see ezdxf_peer.py) and returns its
// answers, one vector of numbers a line. Returns false, with the reason in
// `error`, when the peer cannot run (ezdxf missing) or answers a different
// number of lines.
bool AskEzdxf(const std::vector<std::string>& questions, std::vector<std::vector<double>>* answers,
              std::string* error);

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_EZDXF_PEER_H
