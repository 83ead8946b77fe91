// The REST API server follows the role: it runs on the Controller and is stopped on an Agent. Timer thread.
#pragma once

namespace qo1905 {

// Acts once per change of role; a server that somebody else starts or stops in between is not noticed. False when the
// shell could not be asked: the rest of this cycle's messages is then left out, and the server stays as it is until the
// role changes again.
bool start_rest_server();
bool stop_rest_server();

}  // namespace qo1905
