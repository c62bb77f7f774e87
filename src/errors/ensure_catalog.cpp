// The once-only step. Neither finding the path nor telling it allocates, so it can't fail for want of memory.
#include <errors/ensure_catalog.hpp>

#include <fl/filesystem/install_path.hpp>
#include <fl/i18n/message_catalog.hpp>

#include <mutex>

namespace matrix::errors {

void ensure_message_catalog() noexcept {
    static std::once_flag done;
    std::call_once(done,
                   [] { fl::i18n::MessageCatalog::MessageCatalogInit(fl::filesystem::get_install_path()); });
}

} // namespace matrix::errors
