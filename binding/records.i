// Containers, pointer helpers, the protocol's constants and plain structures, and the data records.

// ---- containers ----------------------------------------------------------------------------------------------
// Vectors given back by value or by const reference reach Python as tuples (a vVector as a tuple of tuples);
// any sequence of convertible elements is taken where a vector is expected. %naturalvar makes vector fields of
// the records behave the same way: reading one gives a tuple, assigning one takes any sequence.
%naturalvar;

%template(ucVector) std::vector<unsigned char>;
%template(uiVector) std::vector<unsigned int>;
%template(iVector) std::vector<int>;
%template(FloatVector) std::vector<float>;
%template(DoubleVector) std::vector<double>;
%template(vVector) std::vector<std::vector<unsigned char> >;

// Slices are taken apart with the interpreter's own functions, which must not run without its lock.
%define DEVICEBRIDGE_SLICES_KEEP_THE_LOCK(type)
%feature("nothreadallow") std::vector<type>::__getitem__(PySliceObject*);
%feature("nothreadallow") std::vector<type>::__setitem__(PySliceObject*, const std::vector<type>&);
%feature("nothreadallow") std::vector<type>::__setitem__(PySliceObject*);
%feature("nothreadallow") std::vector<type>::__delitem__(PySliceObject*);
%enddef
DEVICEBRIDGE_SLICES_KEEP_THE_LOCK(unsigned char)
DEVICEBRIDGE_SLICES_KEEP_THE_LOCK(unsigned int)
DEVICEBRIDGE_SLICES_KEEP_THE_LOCK(int)
DEVICEBRIDGE_SLICES_KEEP_THE_LOCK(float)
DEVICEBRIDGE_SLICES_KEEP_THE_LOCK(double)
DEVICEBRIDGE_SLICES_KEEP_THE_LOCK(std::vector<unsigned char>)

%include "Bytes.h"

// ---- pointer helpers, for the out-arguments some operations keep ---------------------------------------------
%pointer_functions(uint32_t, uint32_t_ptr);
%pointer_functions(uint8_t, uint8_t_ptr);
%pointer_functions(float, float_ptr);
%pointer_functions(std::string, string_ptr);

// ---- fixed-size arrays of the protocol structures: a tuple out, a sequence of exactly that length in --------
%define DEVICEBRIDGE_ARRAY_TYPEMAPS(type, from_python, to_python)
%typemap(out) type [ANY] {
    $result = PyTuple_New($1_dim0);
    for (Py_ssize_t index = 0; index < $1_dim0; ++index)
        PyTuple_SET_ITEM($result, index, to_python($1[index]));
}
%typemap(in) type [ANY] (type temp[$1_dim0]) {
    if (!PySequence_Check($input) || PySequence_Size($input) != $1_dim0)
        SWIG_exception_fail(SWIG_ValueError, "a sequence of $1_dim0 elements is expected");
    for (Py_ssize_t index = 0; index < $1_dim0; ++index) {
        PyObject* item = PySequence_GetItem($input, index);
        const bool converted = item && SWIG_IsOK(from_python(item, &temp[index]));
        Py_XDECREF(item);
        if (!converted)
            SWIG_exception_fail(SWIG_TypeError, "in sequence element");
    }
    $1 = temp;
}
%enddef
DEVICEBRIDGE_ARRAY_TYPEMAPS(float, SWIG_AsVal_float, PyFloat_FromDouble)

// ---- the protocol's identifiers and plain structures --------------------------------------------------------
%include "protocol_identifiers.h"

// ---- the data records ----------------------------------------------------------------------------------------
%include "MessageRecords.h"

// Each vector field also has a getter that gives a tuple of its elements.
%define DEVICEBRIDGE_ARRAY_GETTER(record, getter, field, type)
%extend Tervik::record {
    std::vector<type> getter() const { return $self->field; }
}
%enddef
DEVICEBRIDGE_ARRAY_GETTER(DataFloat, get_data, data, float)
DEVICEBRIDGE_ARRAY_GETTER(RawNormalizedData, get_data, data, float)
DEVICEBRIDGE_ARRAY_GETTER(BasebandApData, get_amplitude, amplitude, float)
DEVICEBRIDGE_ARRAY_GETTER(BasebandApData, get_phase, phase, float)
DEVICEBRIDGE_ARRAY_GETTER(BasebandIqData, get_I, i_data, float)
DEVICEBRIDGE_ARRAY_GETTER(BasebandIqData, get_Q, q_data, float)
DEVICEBRIDGE_ARRAY_GETTER(PresenceMovingListData, get_movement_slow_items, movement_slow_items, float)
DEVICEBRIDGE_ARRAY_GETTER(PresenceMovingListData, get_movement_fast_items, movement_fast_items, float)
DEVICEBRIDGE_ARRAY_GETTER(PresenceMovingListData, get_detection_distance_items, detection_distance_items, float)
DEVICEBRIDGE_ARRAY_GETTER(PresenceMovingListData, get_radar_cross_section_items, radar_cross_section_items, float)
DEVICEBRIDGE_ARRAY_GETTER(PresenceMovingListData, get_detection_velocity_items, detection_velocity_items, float)
DEVICEBRIDGE_ARRAY_GETTER(RespirationMovingListData, get_movement_slow_items, movement_slow_items, float)
DEVICEBRIDGE_ARRAY_GETTER(RespirationMovingListData, get_movement_fast_items, movement_fast_items, float)
DEVICEBRIDGE_ARRAY_GETTER(RespirationDetectionListData, get_detection_distance_items, detection_distance_items, float)
DEVICEBRIDGE_ARRAY_GETTER(RespirationDetectionListData, get_detection_radar_cross_section_items,
                          detection_radar_cross_section_items, float)
DEVICEBRIDGE_ARRAY_GETTER(RespirationDetectionListData, get_detection_velocity_items, detection_velocity_items, float)
DEVICEBRIDGE_ARRAY_GETTER(PulseDopplerFloatData, get_data, data, float)
DEVICEBRIDGE_ARRAY_GETTER(PulseDopplerByteData, get_data, data, unsigned char)
DEVICEBRIDGE_ARRAY_GETTER(Files, get_file_type_items, file_type_items, int)
DEVICEBRIDGE_ARRAY_GETTER(Files, get_file_identifier_items, file_identifier_items, int)
