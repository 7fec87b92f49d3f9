// The Python module devicebridgewrapper (extension _devicebridgewrapper) of the package pydevicebridge.
//
// Generated from the public headers: the comments of the headers become the docstrings (swig -doxygen). The
// interface is split by area: records.i (containers, constants, data records), recording.i (recording,
// reading, playback) and devices.i (bridge, facades, bootloader).
//
// threads="1" releases the interpreter lock around every wrapped call and takes it back with
// PyGILState_Ensure wherever the generated code touches Python objects without it.
%module(threads="1", docstring="Connection to ultra-wideband radar modules: bridges, facades, recording, "
                               "reading and playback.") devicebridgewrapper

%{
#include "binding_headers.h"
// Types the interface only passes along (the guard, the recorder's callback types) are named by the generated
// code as the headers spell them inside the namespace.
using namespace Tervik;
%}

%include <exception.i>
%include <stdint.i>
%include <std_string.i>
%include <std_vector.i>
%include <cpointer.i>

// A call that fits no overload is refused with NotImplementedError, naming the prototypes that would fit.
%{
#define SWIG_Python_RaiseOrModifyTypeError(message) PyErr_SetString(PyExc_NotImplementedError, message)
%}

// Every library failure reaches Python as RuntimeError with the exception's text; the numeric code of a
// TervikException is not carried over. The vector operations catch std::out_of_range themselves, before this
// handler, and raise IndexError. The interpreter lock is released only for the call itself, inside the
// try block, so that the handlers below run with the lock held again.
%exception {
    try {
        $action
    } catch (const Tervik::TervikException& error) {
        SWIG_exception_fail(SWIG_RuntimeError, error.what());
    } catch (const std::string& error) {
        SWIG_exception_fail(SWIG_RuntimeError, error.c_str());
    } catch (const std::exception& error) {
        SWIG_exception_fail(SWIG_RuntimeError, error.what());
    } catch (...) {
        SWIG_exception_fail(SWIG_RuntimeError, "caught unknown exception");
    }
}

%include "records.i"
%include "recording.i"
%include "devices.i"
