#include "lab/mesh/line_link.h"

namespace lab {
namespace {

constexpr std::size_t kMaxLine = std::size_t{64} << 20U;

}  // namespace

void LineLink::open(LineHandler on_line, EndHandler on_end) {
    on_line_ = std::move(on_line);
    on_end_ = std::move(on_end);
    read();
}

void LineLink::read() {
    asio::async_read_until(socket_, asio::dynamic_buffer(input_, kMaxLine), '\n',
                           [self = shared_from_this()](const asio::error_code &error, std::size_t size) {
                               if (!self->on_line_) {
                                   return;
                               }
                               // Copies: a handler may close the link, which forgets the handlers.
                               if (error) {
                                   const EndHandler on_end = self->on_end_;
                                   on_end();
                                   return;
                               }
                               const LineHandler on_line = self->on_line_;
                               const std::string line = self->input_.substr(0, size - 1);
                               self->input_.erase(0, size);
                               on_line(line);
                               self->read();
                           });
}

void LineLink::send(const std::string &line) {
    output_ += line + '\n';
    write();
}

void LineLink::write() {
    if (!sending_.empty()) {
        return;
    }
    if (output_.empty()) {
        if (closing_) {
            close();
        }
        return;
    }
    sending_.swap(output_);
    asio::async_write(socket_, asio::buffer(sending_),
                      [self = shared_from_this()](const asio::error_code &error, std::size_t) {
                          self->sending_.clear();
                          if (!error) {
                              self->write();
                          }
                      });
}

void LineLink::close_when_sent() {
    closing_ = true;
    write();
}

void LineLink::close() {
    on_line_ = nullptr;
    on_end_ = nullptr;
    asio::error_code ignored;
    (void)socket_.close(ignored);
}

}  // namespace lab
