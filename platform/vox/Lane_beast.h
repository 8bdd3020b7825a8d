/// @file
/// In which order an event loop serves its connections.
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/execution.hpp>
#include <boost/asio/post.hpp>
#include <memory>

#include "IoThread_beast.h"

namespace LumVoxMsg {

/// Where a connection stands; touched by its loop alone once it has begun.
struct Standing {
    IoThread& thread;
    const std::size_t place;  ///< LaterSteps: the same for each connection of an address
    bool proven = false;      ///< the peer has proven who he is
};

/// The executor of a connection (as the network library knows them): its steps run on its loop, those of a stranger
/// later than what there is to do for others. Used on the loop's thread.
template <bool mayRunAtOnce>
class Lane {
public:
    explicit Lane(std::shared_ptr<Standing> standing) noexcept : standing(std::move(standing)) {}

    net::execution_context& query(net::execution::context_t) const noexcept { return standing->thread.context; }
    static constexpr net::execution::blocking_t query(net::execution::blocking_t) noexcept {
        if constexpr (mayRunAtOnce) return net::execution::blocking.possibly;
        return net::execution::blocking.never;
    }
    Lane<true> require(net::execution::blocking_t::possibly_t) const noexcept { return Lane<true>(standing); }
    Lane<false> require(net::execution::blocking_t::never_t) const noexcept { return Lane<false>(standing); }
    template <class Function>
    void execute(Function function) const {
        if (!standing->proven) return standing->thread.Later(standing->place, std::move(function));
        if constexpr (mayRunAtOnce)
            function();
        else
            net::post(standing->thread.context, std::move(function));
    }
    bool operator==(const Lane& other) const noexcept { return standing == other.standing; }
    bool operator!=(const Lane& other) const noexcept { return standing != other.standing; }

private:
    std::shared_ptr<Standing> standing;
};

}  // namespace LumVoxMsg
