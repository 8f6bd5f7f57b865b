// The whole of Boost.JSON, compiled with this target's instrumentation.
#include <boost/json/src.hpp>
