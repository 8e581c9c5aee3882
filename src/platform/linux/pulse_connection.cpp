#include "platform/linux/pulse_connection.h"

#include <pulse/error.h>
#include <pulse/subscribe.h>

#include <algorithm>
#include <utility>

namespace brindle {

void PulseConnection::ContextEnd::operator()(pa_context* context) const {
  pa_context_set_state_callback(context, nullptr, nullptr);
  pa_context_set_subscribe_callback(context, nullptr, nullptr);
  pa_context_disconnect(context);
  pa_context_unref(context);
}

PulseConnection::PulseConnection(MainLoop& loop, std::string service, pa_subscription_mask_t events)
    : loop_(loop), service_(std::move(service)), events_(events) {}

PulseConnection::~PulseConnection() = default;

bool PulseConnection::ready() const {
  return context_ && pa_context_get_state(context_.get()) == PA_CONTEXT_READY;
}

Subscription PulseConnection::keep() {
  if (kept_++ == 0 && context_) awaitServer();
  // Whoever asks does not wait for the end of a pause.
  if (!context_) connect();
  return Subscription(lifetime_.guard([this] { release(); }));
}

void PulseConnection::release() {
  if (--kept_ > 0) return;
  if (!context_) return timer_.cancel();
  timer_ = loop().after(linger, [this] { context_.reset(); });
}

void PulseConnection::connect() {
  problem_.clear();
  wasReady_ = false;
  context_.reset(pa_context_new(loop_.api(), "Brindle"));
  awaitServer();
  if (!context_) return;  // no memory for it
  const auto changed = [](pa_context*, void* self) {
    static_cast<PulseConnection*>(self)->stateChanged();
  };
  pa_context_set_state_callback(context_.get(), changed, this);
  if (pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
    stateChanged();
  }
}

void PulseConnection::awaitServer() {
  if (ready()) return timer_.cancel();
  timer_ = loop().after(patience, [this] { lost("the sound server does not answer"); });
}

void PulseConnection::stateChanged() {
  const auto state = pa_context_get_state(context_.get());
  if (state == PA_CONTEXT_READY) return becameReady();
  if (PA_CONTEXT_IS_GOOD(state) && state != PA_CONTEXT_UNCONNECTED) return;
  // This may be libpulse's own call: the context must not go in it.
  turn_ = loop().after(Duration(0),
                       [this, why = pa_context_errno(context_.get())] { lost(pa_strerror(why)); });
}

void PulseConnection::becameReady() {
  timer_.cancel();
  pause_ = firstPause;
  wasReady_ = true;
  const auto told = [](pa_context*, pa_subscription_event_type_t type, std::uint32_t index,
                       void* self) {
    static_cast<PulseConnection*>(self)->told_.tell(type, index);
  };
  pa_context_set_subscribe_callback(context_.get(), told, this);
  if (auto* asked = pa_context_subscribe(context_.get(), events_, nullptr, nullptr)) {
    pa_operation_unref(asked);
  }
  answerWaiting(context_.get());
  if (kept_ == 0) timer_ = loop().after(linger, [this] { context_.reset(); });
  turn_ = loop().after(Duration(0), [this] { server_.tell(true); });
}

void PulseConnection::lost(std::string problem) {
  turn_.cancel();
  problem_ = std::move(problem);
  context_.reset();
  timer_.cancel();
  if (kept_ > 0) {
    timer_ = loop().after(pause_, [this] { connect(); });
    pause_ = std::min(pause_ * 2, longestPause);
  }
  const bool went = std::exchange(wasReady_, false);
  answerWaiting(nullptr);
  if (went) server_.tell(false);
}

void PulseConnection::whenReady(Use use) {
  if (ready()) return use(context_.get());
  if (!context_) return use(nullptr);
  waiting_.push_back(std::move(use));
}

void PulseConnection::answerWaiting(pa_context* context) {
  for (const auto& use : std::exchange(waiting_, {})) use(context);
}

ServiceReport PulseConnection::report() const {
  if (!problem_.empty()) return {service_, "PulseAudio", false, problem_};
  if (!ready())
    return {service_, "PulseAudio", wasReady_,
            wasReady_ ? "answered when last asked" : "being asked"};
  return {service_, "PulseAudio", true, pa_context_get_server(context_.get())};
}

}  // namespace brindle
