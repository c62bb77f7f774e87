// The translation, kind by kind.
#include "matrix/text_errors.hpp"

#include "errors/raise.hpp"

#include <nd/conversion_errors.hpp>

namespace matrix::internal {

void char_exception_dispatcher() {
    using TARVEL::legacy_two_part::invalidInput;
    using TARVEL::legacy_two_part::pmaxsize;
    try {
        throw;
    } catch (const fl::i18n::CvtSizeTooLarge&) {
        errors::raise<pmaxsize>();
    } catch (const fl::i18n::CtypeSizeTooLarge&) {
        errors::raise<pmaxsize>();
    } catch (const fl::i18n::CvtInvalidCharacter&) {
        errors::raise<invalidInput>();
    } catch (const fl::i18n::CvtConversionFailure&) {
        errors::raise<invalidInput>();
    } catch (const foundation::ustring::CtypeInvalidCharacter&) {
        errors::raise<invalidInput>();
    } catch (const fl::i18n::CtypeStrCompFailure&) {
        errors::raise<invalidInput>();
    }
}

} // namespace matrix::internal
