#include "platform/linux/camera_pipeline.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/video.h>

#include <chrono>
#include <mutex>

namespace brindle {
namespace {

using namespace std::chrono_literals;

// Opening a USB camera takes up to two seconds; one that has given no frame after five hangs.
constexpr Duration firstFrameLimit = 5s;
constexpr Duration look = 100ms;

struct FreeError {
  void operator()(GError* error) const { g_error_free(error); }
};
using ErrorOwner = std::unique_ptr<GError, FreeError>;

template <class T>
struct Unref {
  void operator()(T* object) const { gst_object_unref(object); }
};
template <class T>
using ObjectOwner = std::unique_ptr<T, Unref<T>>;

bool gstreamerReady() {
  static const bool ready = [] { return gst_init_check(nullptr, nullptr, nullptr) == TRUE; }();
  return ready;
}

/// Mean of every eighth sample of every eighth row: enough to see the exposure move, too little to
/// be felt at thirty frames a second.
double sampledMean(GstSample* sample) {
  constexpr int step = 8;
  GstVideoInfo info;
  GstVideoFrame frame;
  if (!gst_video_info_from_caps(&info, gst_sample_get_caps(sample)) ||
      !gst_video_frame_map(&frame, &info, gst_sample_get_buffer(sample), GST_MAP_READ)) {
    return 0;
  }
  const auto* const luma = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
  const std::ptrdiff_t stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
  std::uint64_t sum = 0, count = 0;
  for (int y = 0; y < GST_VIDEO_FRAME_HEIGHT(&frame); y += step) {
    for (int x = 0; x < GST_VIDEO_FRAME_WIDTH(&frame); x += step) {
      sum += luma[y * stride + x];
      ++count;
    }
  }
  gst_video_frame_unmap(&frame);
  return count == 0 ? 0 : static_cast<double>(sum) / (static_cast<double>(count) * 255.0);
}

GstFlowReturn onSample(GstAppSink* sink, gpointer feed) {
  SampleOwner sample(gst_app_sink_pull_sample(sink));
  if (!sample) return GST_FLOW_EOS;
  const double mean = sampledMean(sample.get());
  static_cast<CameraFeed*>(feed)->put(std::move(sample), mean);
  return GST_FLOW_OK;
}

std::string textOf(GstMessage* message) {
  GError* raw = nullptr;
  gst_message_parse_error(message, &raw, nullptr);
  const ErrorOwner error(raw);
  return error && error->message ? error->message : "unknown error";
}

/// Runs on the thread that posts the message, so an unplugged camera is known at once and nobody
/// has to watch the bus.
GstBusSyncReply onMessage(GstBus*, GstMessage* message, gpointer data) {
  auto& feed = *static_cast<CameraFeed*>(data);
  if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) feed.end(textOf(message));
  if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) feed.end("no more frames");
  gst_message_unref(message);
  return GST_BUS_DROP;
}

}  // namespace

std::unique_ptr<CameraPipeline> CameraPipeline::start(const std::string& source, bool paced,
                                                      std::shared_ptr<CameraFeed> feed) {
  if (!gstreamerReady()) {
    feed->end("GStreamer could not be initialised");
    return nullptr;
  }
  // decodebin lets through raw pictures and decodes those of cameras that only send JPEG.
  const std::string description = source +
                                  " ! decodebin ! videoconvert ! video/x-raw,format=I420"
                                  " ! appsink name=frames max-buffers=1 drop=true"
                                  " wait-on-eos=false sync=" +
                                  (paced ? "true" : "false");
  GError* raw = nullptr;
  GstElement* const element =
      gst_parse_launch_full(description.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &raw);
  const ErrorOwner error(raw);
  if (!element) {
    feed->end(error ? error->message : "the pipeline could not be built");
    return nullptr;
  }
  std::unique_ptr<CameraPipeline> pipeline(new CameraPipeline(element, std::move(feed)));
  if (!pipeline->listen() || !pipeline->play()) return nullptr;
  return pipeline;
}

CameraPipeline::CameraPipeline(GstElement* pipeline, std::shared_ptr<CameraFeed> feed)
    : pipeline_(pipeline), feed_(std::move(feed)) {}

CameraPipeline::~CameraPipeline() {
  feed_->end("stopped");
  // Waits for the streaming threads, after which the callbacks below no longer run.
  gst_element_set_state(pipeline_, GST_STATE_NULL);
  gst_object_unref(pipeline_);
}

bool CameraPipeline::listen() {
  if (!GST_IS_BIN(pipeline_)) return false;
  const ObjectOwner<GstElement> sink(gst_bin_get_by_name(GST_BIN(pipeline_), "frames"));
  const ObjectOwner<GstBus> bus(gst_element_get_bus(pipeline_));
  if (!sink || !bus) return false;
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = onSample;
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, feed_.get(), nullptr);
  gst_bus_set_sync_handler(bus.get(), onMessage, feed_.get(), nullptr);
  return true;
}

/// The state is reached with the first frame.
bool CameraPipeline::play() {
  auto change = gst_element_set_state(pipeline_, GST_STATE_PLAYING);
  for (Duration waited{0}; change == GST_STATE_CHANGE_ASYNC && !feed_->ended(); waited += look) {
    if (waited >= firstFrameLimit) {
      feed_->end("no frame came");
      return false;
    }
    change =
        gst_element_get_state(pipeline_, nullptr, nullptr, static_cast<GstClockTime>(look.count()));
  }
  if (change == GST_STATE_CHANGE_FAILURE) feed_->end("the pipeline could not be started");
  return !feed_->ended();
}

std::optional<Bytes> jpegOf(GstSample* sample) {
  const std::unique_ptr<GstCaps, decltype(&gst_caps_unref)> caps(
      gst_caps_new_empty_simple("image/jpeg"), &gst_caps_unref);
  const SampleOwner encoded(gst_video_convert_sample(sample, caps.get(), GST_SECOND, nullptr));
  GstBuffer* const buffer = encoded ? gst_sample_get_buffer(encoded.get()) : nullptr;
  if (!buffer) return std::nullopt;
  Bytes bytes(gst_buffer_get_size(buffer));
  bytes.resize(gst_buffer_extract(buffer, 0, bytes.data(), bytes.size()));
  return bytes;
}

}  // namespace brindle
