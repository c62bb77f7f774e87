#include "model/indexing_model.hpp"
