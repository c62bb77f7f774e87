/*
 * nd/engine.hpp: everything that an engine, or other C++ code in its process, needs of libnd. See the single headers.
 */
#ifndef ND_ENGINE_HPP
#define ND_ENGINE_HPP

#include <nd/access.hpp>
#include <nd/array.hpp>
#include <nd/assignment.hpp>
#include <nd/cache.hpp>
#include <nd/colon.hpp>
#include <nd/containers.hpp>
#include <nd/convert.hpp>
#include <nd/create.hpp>
#include <nd/deletion.hpp>
#include <nd/engine_access.hpp>
#include <nd/errors.hpp>
#include <nd/interleaved.hpp>
#include <nd/lists.hpp>
#include <nd/memory.hpp>
#include <nd/messages.hpp>
#include <nd/module.hpp>
#include <nd/names.hpp>
#include <nd/protected.hpp>
#include <nd/reference.hpp>
#include <nd/share.hpp>
#include <nd/sizes.hpp>
#include <nd/sparse.hpp>
#include <nd/structures.hpp>
#include <nd/subscripts.hpp>
#include <nd/text.hpp>
#include <nd/typed.hpp>
#include <nd/types.h>
#include <nd/warnings.hpp>

#include <foundation/usm/usm.hpp>

#endif
