/// @file
/// Requests and answers as the HTTP library wants them, with bodies of blocks.
#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/serializer.hpp>

#include "Blocks.h"

namespace LumVoxMsg {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;

/// A message body of blocks, as the HTTP library wants it.
struct BlocksBody {
    using value_type = std::shared_ptr<Blocks>;
    static std::uint64_t size(const value_type& blocks) { return blocks ? blocks->GetSize() : 0; }

    class reader {
    public:
        template <bool isRequest, class Fields>
        reader(http::header<isRequest, Fields>&, value_type& blocks) : blocks(blocks) {}
        void init(const boost::optional<std::uint64_t>&, error_code& error) { error = {}; }
        template <class Buffers>
        std::size_t put(const Buffers& buffers, error_code& error) {
            error = {};
            std::size_t count = 0;
            for (const net::const_buffer buffer : beast::buffers_range_ref(buffers)) {
                if (!blocks->Append(static_cast<const char*>(buffer.data()), buffer.size()))
                    error = boost::system::errc::make_error_code(boost::system::errc::not_enough_memory);
                if (error) return count;
                count += buffer.size();
            }
            return count;
        }
        void finish(error_code& error) { error = {}; }

    private:
        value_type& blocks;
    };

    class writer {
    public:
        using const_buffers_type = net::const_buffer;
        template <bool isRequest, class Fields>
        writer(const http::header<isRequest, Fields>&, const value_type& blocks) : blocks(blocks.get()) {}
        void init(error_code& error) { error = {}; }
        /// Frees the block that was sent and gives the next one.
        boost::optional<std::pair<const_buffers_type, bool>> get(error_code& error) {
            error = {};
            if (given) blocks->DropFirst();
            given = true;
            if (!blocks || blocks->GetCount() == 0) return boost::none;
            const std::string_view block = blocks->GetBlock(0);
            return {{net::const_buffer(block.data(), block.size()), blocks->GetCount() > 1}};
        }

    private:
        Blocks* blocks;
        bool given = false;
    };
};

using Parser = http::request_parser<BlocksBody>;
using Response = http::response<BlocksBody>;
using Serializer = http::response_serializer<BlocksBody>;

}  // namespace LumVoxMsg
