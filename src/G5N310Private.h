// The connection behind a G5N310, shared by its copies.
#ifndef DEVICEBRIDGE_G5N310PRIVATE_H
#define DEVICEBRIDGE_G5N310PRIVATE_H

#include "FacadePrivate.h"

namespace Tervik {

class G5N310Private : public FacadePrivate {
public:
    using FacadePrivate::FacadePrivate;
};

} // namespace Tervik

#endif
