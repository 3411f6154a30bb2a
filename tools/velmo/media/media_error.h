#pragma once

#include <stdexcept>

namespace velmo_media {

// Something is wrong with a file or a stream; the text names it and says what, for a person.
class MediaError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

}  // namespace velmo_media
