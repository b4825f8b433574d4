#include "apps/video/VideoReader.h"

#include "apps/common/Errors.h"
#include "apps/common/PictureAlpha.h"
#include "apps/video/FfmpegText.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <cmath>
#include <cstring>

struct VideoReader::State {
    std::string path;
    int depth = 8;
    VideoInfo info;
    AVFormatContext* format = nullptr;
    AVCodecContext* decoder = nullptr;
    SwsContext* scaler = nullptr;
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    int stream = -1;
    long nextIndex = 0;
    bool draining = false, ended = false;
    int64_t startPts = 0;
    std::function<void(AVPacket*)> other;

    ~State() {
        sws_freeContext(scaler);
        av_frame_free(&frame);
        av_packet_free(&packet);
        avcodec_free_context(&decoder);
        avformat_close_input(&format);
    }

    [[noreturn]] void fail(std::string const& what, int error) const {
        std::string codec = info.codec.empty() ? "" : " (" + info.codec + ")";
        throw Failure("cannot read video " + inQuotes(path) + codec + ": " + what +
                      (error ? ": " + avErrorText(error) : ""));
    }

    // The next decoded frame into `frame`; false at the end of the stream.
    bool decode() {
        for (;;) {
            int r = avcodec_receive_frame(decoder, frame);
            if (r == 0) return true;
            if (r == AVERROR_EOF) return false;
            if (r != AVERROR(EAGAIN)) fail("the video cannot be decoded", r);
            if (draining) return false;
            r = av_read_frame(format, packet);
            if (r == AVERROR_EOF) {
                draining = true;
                avcodec_send_packet(decoder, nullptr);
                continue;
            }
            if (r < 0) fail("the file cannot be read", r);
            if (packet->stream_index == stream) {
                r = avcodec_send_packet(decoder, packet);
                if (r < 0 && r != AVERROR(EAGAIN)) fail("the video cannot be decoded", r);
            } else if (other) {
                other(packet);
            }
            av_packet_unref(packet);
        }
    }

    // The decoded frame as a premultiplied R G B A picture.
    Picture convert() {
        bool const wide = depth != 8;
        AVPixelFormat const target = wide ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA;
        scaler = sws_getCachedContext(scaler, frame->width, frame->height,
                                      AVPixelFormat(frame->format), info.width, info.height, target,
                                      SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                                      nullptr, nullptr);
        if (!scaler) fail("no conversion from its pixel format", 0);
        int const matrix =
            frame->colorspace == AVCOL_SPC_UNSPECIFIED ? SWS_CS_DEFAULT : int(frame->colorspace);
        sws_setColorspaceDetails(scaler, sws_getCoefficients(matrix),
                                 frame->color_range == AVCOL_RANGE_JPEG,
                                 sws_getCoefficients(matrix), 1, 0, 1 << 16, 1 << 16);
        Picture p(info.width, info.height, wide ? 16 : 8);
        uint8_t* planes[4] = {p.bytes.data()};
        int strides[4] = {p.rowBytes()};
        sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, planes, strides);
        if (info.alpha) premultiplyPicture(p);
        if (depth == 32) { // float works from the 16-bit picture
            Picture f(p.width, p.height, 32);
            for (size_t i = 0; i < p.pixelCount(); ++i)
                for (int c = 0; c < 4; ++c) f.setChannel(i, c, p.channel(i, c));
            return f;
        }
        return p;
    }

    long indexOf(int64_t pts) const {
        double const seconds = double(pts - startPts) * info.timeNum / info.timeDen;
        return std::lround(seconds * info.rateNum / info.rateDen);
    }
};

VideoReader::VideoReader(std::string const& path, int depth) : m(std::make_unique<State>()) {
    m->path = path;
    av_log_set_level(AV_LOG_QUIET); // the messages name what failed
    int r = avformat_open_input(&m->format, path.c_str(), nullptr, nullptr);
    if (r < 0) m->fail("not a video file FFmpeg can open", r);
    if ((r = avformat_find_stream_info(m->format, nullptr)) < 0) m->fail("no stream found", r);
    m->stream = av_find_best_stream(m->format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (m->stream < 0) m->fail("it holds no video stream", 0);
    AVStream* s = m->format->streams[m->stream];
    AVCodecParameters* par = s->codecpar;
    m->info.codec = avcodec_get_name(par->codec_id);
    AVCodec const* codec = avcodec_find_decoder(par->codec_id);
    if (!codec) m->fail("no decoder for this codec", 0);
    m->decoder = avcodec_alloc_context3(codec);
    avcodec_parameters_to_context(m->decoder, par);
    m->decoder->thread_count = 0;
    if ((r = avcodec_open2(m->decoder, codec, nullptr)) < 0)
        m->fail("the decoder will not open", r);
    if (par->width <= 0 || par->height <= 0) m->fail("the video has no size", 0);

    VideoInfo& i = m->info;
    i.width = par->width;
    i.height = par->height;
    if (AVPixFmtDescriptor const* d = av_pix_fmt_desc_get(AVPixelFormat(par->format))) {
        i.deep = d->comp[0].depth > 8;
        i.alpha = (d->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    }
    AVRational rate = av_guess_frame_rate(m->format, s, nullptr);
    if (rate.num <= 0 || rate.den <= 0) rate = {25, 1};
    i.rateNum = rate.num, i.rateDen = rate.den;
    i.timeNum = s->time_base.num, i.timeDen = s->time_base.den;
    i.frameCount = long(s->nb_frames);
    if (i.frameCount <= 0 && s->duration > 0)
        i.frameCount = long(std::lround(double(s->duration) * av_q2d(s->time_base) * av_q2d(rate)));
    else if (i.frameCount <= 0 && m->format->duration > 0)
        i.frameCount = long(std::lround(double(m->format->duration) / AV_TIME_BASE * av_q2d(rate)));
    i.primaries = par->color_primaries, i.transfer = par->color_trc;
    i.matrix = par->color_space, i.range = par->color_range;
    m->startPts = i.startPts = s->start_time == AV_NOPTS_VALUE ? 0 : s->start_time;
    m->depth = depth ? depth : i.deep ? 16 : 8;
}

VideoReader::~VideoReader() = default;

VideoInfo const& VideoReader::info() const {
    return m->info;
}
AVFormatContext* VideoReader::container() const {
    return m->format;
}
int VideoReader::videoStream() const {
    return m->stream;
}
void VideoReader::onOtherPacket(std::function<void(AVPacket*)> handler) {
    m->other = std::move(handler);
}

long VideoReader::countFrames() {
    AVStream* s = m->format->streams[m->stream];
    if (s->nb_frames > 0) return long(s->nb_frames);
    long count = 0;
    while (av_read_frame(m->format, m->packet) >= 0) {
        count += m->packet->stream_index == m->stream;
        av_packet_unref(m->packet);
    }
    av_seek_frame(m->format, m->stream, m->startPts, AVSEEK_FLAG_BACKWARD);
    return m->info.frameCount = count;
}

bool VideoReader::next(VideoFrame& out) {
    if (m->ended || !m->decode()) return m->ended = true, false;
    out.index = m->nextIndex++;
    out.pts = m->frame->best_effort_timestamp;
    if (out.pts == AV_NOPTS_VALUE) out.pts = m->frame->pts;
    out.picture = m->convert();
    av_frame_unref(m->frame);
    return true;
}

bool VideoReader::frameAt(long index, VideoFrame& out) {
    if (index < m->nextIndex || index > m->nextIndex + 48) {
        AVRational const rate{m->info.rateNum, m->info.rateDen};
        int64_t const target = m->startPts + av_rescale_q(index, av_inv_q(rate),
                                                          m->format->streams[m->stream]->time_base);
        if (av_seek_frame(m->format, m->stream, target, AVSEEK_FLAG_BACKWARD) < 0) return false;
        avcodec_flush_buffers(m->decoder);
        m->draining = m->ended = false;
        m->nextIndex = -1; // set from the first frame decoded
    }
    while (!m->ended) {
        if (!m->decode()) return m->ended = true, false;
        int64_t pts = m->frame->best_effort_timestamp;
        if (pts == AV_NOPTS_VALUE) pts = m->frame->pts;
        long const at = m->nextIndex < 0 ? m->indexOf(pts) : m->nextIndex;
        m->nextIndex = at + 1;
        if (at >= index) {
            out.index = at, out.pts = pts;
            out.picture = m->convert();
            av_frame_unref(m->frame);
            return true;
        }
        av_frame_unref(m->frame);
    }
    return false;
}
