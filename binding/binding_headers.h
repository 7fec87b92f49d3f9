// Everything the generated wrapper code refers to.
#ifndef DEVICEBRIDGE_BINDING_HEADERS_H
#define DEVICEBRIDGE_BINDING_HEADERS_H

#include "Bootloader.h"
#include "Bytes.h"
#include "DataRecord.h"
#include "DataTypes.h"
#include "G5.h"
#include "MessageRecords.h"
#include "NotSupported.h"
#include "PreferredSplitSize.h"
#include "PyDataPlayer.h"
#include "PyDataReader.h"
#include "PyDataRecorder.h"
#include "PyG5N310.h"
#include "PyG7N310.h"
#include "PyG7N420.h"
#include "PyRCP.h"
#include "PythonDeviceBridge.h"
#include "RecordingOptions.h"
#include "TervikException.h"
#include "Transport.h"
#include "protocol_identifiers.h"

#include <cassert>
#include <stdexcept>
#include <string>

#endif
