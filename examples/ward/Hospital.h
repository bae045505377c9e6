#pragma once
// The classes of the hospital, ready for use.

#include <string>

namespace perlayer {
class TcmpClassMap;
}

namespace ward {

// Path of a file in the ward's maps/.
std::string MapFile(const std::string& name);

// Loads the class map and makes the providers of its classes; the layer keeps all of them. To be
// called once: rights are asked of the ward's own manager from then on.
perlayer::TcmpClassMap* LoadHospitalClasses();

}  // namespace ward
