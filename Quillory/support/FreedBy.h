#pragma once

namespace quillory {

// Has a pointer freed by a function of a C library: std::unique_ptr<T, FreedBy<t_free>>.
template<auto function> struct FreedBy {
    void operator()(auto* memory) const { function(memory); } // NOLINT(cppcoreguidelines-no-malloc): this is the RAII
};

}
