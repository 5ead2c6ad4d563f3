// print_time.h: printTime, the time of a discovery as the reports give it.
#pragma once

#include <ostream>

namespace latopt {

// Writes seconds as "H:MM:SS hour(s):min(s):sec(s) == S secs" from an hour on,
// "M:SS min(s):sec(s) == S secs" from a minute on, else "S sec(s)"; -1 (unknown) as "-1 sec(s)".
// 3723 gives "1:02:03 hour(s):min(s):sec(s) == 3723 secs", 125 "2:05 min(s):sec(s) == 125 secs".
void printTime(std::ostream& stream, long long seconds);

} // namespace latopt
