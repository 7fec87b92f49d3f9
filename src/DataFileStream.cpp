#include "DataFileStream.h"

DataFileStream::~DataFileStream() {
    close();
}

bool DataFileStream::open(const std::string& filename) {
    close();
    file_ = std::fopen(filename.c_str(), "wb");
    if (!file_)
        return false;
    if (!buffer_)
        buffer_.reset(new char[buffer_size]);
    std::setvbuf(file_, buffer_.get(), _IOFBF, buffer_size);
    return true;
}

void DataFileStream::write(const Bytes& bytes) {
    if (file_ && !bytes.empty())
        std::fwrite(bytes.data(), 1, bytes.size(), file_);
}

void DataFileStream::close() {
    if (file_)
        std::fclose(file_);
    file_ = nullptr;
}
