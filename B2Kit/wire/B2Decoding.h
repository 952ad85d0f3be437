#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

/// Says why a text is not the expected record.
class B2DecodingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads one of the service's records out of JSON text. Defined for every record that is returned by a call.
///
/// Missing optional fields take their defaults and unknown keys are ignored; a missing required field, a wrong type
/// of one, a damaged, too deep or otherwise hostile text is an error. Keeps nothing of the text.
///
/// @throws B2DecodingError
template <class Record>
Record decodeRecord(std::string_view json);
