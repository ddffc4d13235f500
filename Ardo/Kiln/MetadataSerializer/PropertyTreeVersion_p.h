#pragma once

#include <boost/version.hpp>

// Included by the files that use private parts of Boost.PropertyTree.
static_assert(BOOST_VERSION >= 107100 && BOOST_VERSION < 107500,
              "private parts of Boost.PropertyTree are used as they are in Boost 1.71 to 1.74: compare them with those "
              "of this version, run the tests of MetadataSerializer, and widen the range");
