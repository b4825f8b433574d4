#include "apps/video/VideoWriter.h"

#include "apps/common/Errors.h"
#include "apps/common/PictureAlpha.h"
#include "apps/video/FfmpegText.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

std::string extensionOf(std::string const& path) {
    std::string ext = std::filesystem::path(path).extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return char(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return ext;
}

// The encoder of each container when the user names none, and the one that keeps alpha there.
struct ContainerCodecs {
    char const* ext;
    char const* plain;
    char const* withAlpha;
};
constexpr ContainerCodecs kDefaults[] = {
    {".mp4", "libx264", nullptr},
    {".m4v", "libx264", nullptr},
    {".mkv", "libx264", "ffv1"},
    {".mov", "prores_ks", "prores_ks"},
    {".webm", "libvpx-vp9", "libvpx-vp9"},
    {".avi", "ffv1", "ffv1"},
    {".nut", "ffv1", "ffv1"},
};

char const* const kAlphaCodecs = "prores_ks (.mov), ffv1 (.mkv, .mov), png or qtrle (.mov), "
                                 "libvpx-vp9 (.webm)";

bool keepsAlpha(AVPixelFormat f) {
    AVPixFmtDescriptor const* d = av_pix_fmt_desc_get(f);
    return d && (d->flags & AV_PIX_FMT_FLAG_ALPHA);
}
bool isRgb(AVPixelFormat f) {
    AVPixFmtDescriptor const* d = av_pix_fmt_desc_get(f);
    return d && (d->flags & AV_PIX_FMT_FLAG_RGB);
}
bool anyAlpha(AVCodec const* c) {
    for (AVPixelFormat const* f = c->pix_fmts; f && *f != AV_PIX_FMT_NONE; ++f)
        if (keepsAlpha(*f)) return true;
    return false;
}

int writeToFd(void* opaque, uint8_t* data, int size) {
    int const fd = *static_cast<int*>(opaque);
    for (int done = 0; done < size;) {
        ssize_t const n = ::write(fd, data + done, size_t(size - done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return AVERROR(n < 0 ? errno : EIO);
        done += int(n);
    }
    return size;
}

int64_t seekFd(void* opaque, int64_t offset, int whence) {
    int const fd = *static_cast<int*>(opaque);
    if (whence & AVSEEK_SIZE) {
        struct stat st;
        return fstat(fd, &st) == 0 ? int64_t(st.st_size) : AVERROR(errno);
    }
    off_t const at = lseek(fd, off_t(offset), whence & ~AVSEEK_FORCE);
    return at < 0 ? AVERROR(errno) : int64_t(at);
}

} // namespace

struct VideoWriter::State {
    std::string path;
    int fd = -1;
    VideoSettings settings;
    VideoSource source;
    AVFormatContext* out = nullptr;
    AVCodecContext* enc = nullptr;
    AVStream* video = nullptr;
    SwsContext* scaler = nullptr;
    AVPacket* packet = av_packet_alloc();
    std::map<int, AVStream*> copies; // source stream -> output stream
    std::vector<AVPacket*> early;    // copied packets that came before the header
    std::vector<std::string> leftOut;
    bool alpha = false, started = false;
    AVRational sourceBase{1, 25};
    int64_t shift = 0;

    ~State() {
        for (AVPacket*& p : early) av_packet_free(&p);
        sws_freeContext(scaler);
        av_packet_free(&packet);
        avcodec_free_context(&enc);
        if (out) {
            if (out->pb) {
                av_freep(&out->pb->buffer);
                avio_context_free(&out->pb);
            }
            avformat_free_context(out);
        }
    }

    [[noreturn]] void fail(int error) const {
        throw Failure("cannot write " + inQuotes(path) + ": " + avErrorText(error));
    }

    void send(AVPacket* p) {
        int const r = av_interleaved_write_frame(out, p);
        if (r < 0) fail(r);
        if (out->pb->error < 0) fail(out->pb->error);
    }

    void drain() {
        for (;;) {
            int r = avcodec_receive_packet(enc, packet);
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) return;
            if (r < 0) fail(r);
            packet->stream_index = video->index;
            if (packet->duration <= 0)
                packet->duration = av_rescale_q(1, av_inv_q(enc->framerate), enc->time_base);
            av_packet_rescale_ts(packet, enc->time_base, video->time_base);
            send(packet);
        }
    }

    void copyNow(AVPacket* p) {
        AVStream* in = source.reader->container()->streams[p->stream_index];
        AVStream* o = copies.at(p->stream_index);
        int64_t const when = p->pts != AV_NOPTS_VALUE ? p->pts : p->dts;
        if (when != AV_NOPTS_VALUE) {
            int64_t const at = av_rescale_q(when, in->time_base, sourceBase);
            if (at < source.from || at >= source.to) return;
        }
        AVPacket* c = av_packet_clone(p);
        int64_t const back = av_rescale_q(shift, sourceBase, in->time_base);
        if (c->pts != AV_NOPTS_VALUE) c->pts -= back;
        if (c->dts != AV_NOPTS_VALUE) c->dts -= back;
        av_packet_rescale_ts(c, in->time_base, o->time_base);
        c->stream_index = o->index;
        c->pos = -1;
        int const r = av_interleaved_write_frame(out, c);
        av_packet_free(&c);
        if (r < 0) fail(r);
    }

    AVCodec const* chooseCodec(bool wantAlpha) {
        std::string const ext = extensionOf(path);
        ContainerCodecs const* known = nullptr;
        for (ContainerCodecs const& k : kDefaults)
            if (ext == k.ext) known = &k;
        AVCodec const* codec = nullptr;
        if (!settings.codec.empty()) {
            codec = avcodec_find_encoder_by_name(settings.codec.c_str());
            if (!codec)
                if (AVCodecDescriptor const* d =
                        avcodec_descriptor_get_by_name(settings.codec.c_str()))
                    codec = avcodec_find_encoder(d->id);
            if (!codec)
                throw UsageError("unknown codec " + inQuotes(settings.codec) + " for " +
                                 inQuotes(path) +
                                 "; try libx264, prores_ks, ffv1, png, qtrle or "
                                 "libvpx-vp9");
        } else if (known) {
            codec = avcodec_find_encoder_by_name(wantAlpha && known->withAlpha ? known->withAlpha
                                                                               : known->plain);
        } else {
            codec = avcodec_find_encoder(out->oformat->video_codec);
        }
        if (!codec || codec->type != AVMEDIA_TYPE_VIDEO)
            throw UsageError(
                "no video encoder for " + inQuotes(path) +
                (codec ? "; " + inQuotes(settings.codec) + " is not a video codec" : ""));
        if (avformat_query_codec(out->oformat, codec->id, FF_COMPLIANCE_NORMAL) == 0)
            throw UsageError(inQuotes(path) + ": the " + ext + " container cannot hold " +
                             codec->name + " video; choose another codec or file type");
        if (wantAlpha && !anyAlpha(codec))
            throw UsageError(inQuotes(path) + ": the result has alpha, which " + codec->name +
                             " cannot keep; use --codec " + kAlphaCodecs + ", or --alpha off");
        return codec;
    }

    AVPixelFormat choosePixels(AVCodec const* codec, bool deep, bool wantAlpha) {
        AVPixelFormat const* list = codec->pix_fmts;
        auto listed = [&](AVPixelFormat f) {
            if (!list) return true;
            for (AVPixelFormat const* p = list; *p != AV_PIX_FMT_NONE; ++p)
                if (*p == f) return true;
            return false;
        };
        if (!settings.pixFmt.empty()) {
            AVPixelFormat const f = av_get_pix_fmt(settings.pixFmt.c_str());
            if (f == AV_PIX_FMT_NONE || !listed(f))
                throw UsageError("pixel format " + inQuotes(settings.pixFmt) +
                                 (f == AV_PIX_FMT_NONE
                                      ? " is unknown"
                                      : " is not one " + std::string(codec->name) + " encodes"));
            if (wantAlpha && !keepsAlpha(f))
                throw UsageError("pixel format " + inQuotes(settings.pixFmt) +
                                 " has no alpha, and the result has; choose one with alpha "
                                 "(such as yuva444p10le) or --alpha off");
            return f;
        }
        if (!list) return deep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA;
        AVCodecDescriptor const* d = avcodec_descriptor_get(codec->id);
        bool const lossless =
            d && (d->props & AV_CODEC_PROP_LOSSLESS) && !(d->props & AV_CODEC_PROP_LOSSY);
        // Lossless codecs keep the picture as it is, R G B; the others the source's sampling.
        AVPixelFormat ref = deep ? AV_PIX_FMT_YUV420P10 : AV_PIX_FMT_YUV420P;
        if (lossless)
            ref = wantAlpha ? (deep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA)
                            : (deep ? AV_PIX_FMT_RGB48 : AV_PIX_FMT_RGB24);
        else if (wantAlpha)
            ref = deep ? AV_PIX_FMT_YUVA444P16 : AV_PIX_FMT_YUVA444P;
        else if (source.reader) {
            AVStream* s = source.reader->container()->streams[source.reader->videoStream()];
            AVPixelFormat const f = AVPixelFormat(s->codecpar->format);
            if (f != AV_PIX_FMT_NONE && !isRgb(f)) ref = f;
        }
        if (listed(ref)) return ref;
        AVPixelFormat const best = avcodec_find_best_pix_fmt_of_list(list, ref, wantAlpha, nullptr);
        return best == AV_PIX_FMT_NONE ? list[0] : best;
    }
};

VideoWriter::VideoWriter(std::string const& path, int fd, VideoSettings const& settings,
                         VideoSource const& source)
    : m(std::make_unique<State>()) {
    m->path = path;
    m->fd = fd;
    m->settings = settings;
    m->source = source;
    av_log_set_level(AV_LOG_QUIET); // the messages name what failed
    if (avformat_alloc_output_context2(&m->out, nullptr, nullptr, path.c_str()) < 0 || !m->out)
        throw UsageError("no video container for " + inQuotes(path) +
                         "; use .mp4, .mov, .mkv, .webm or .avi");
    int const size = 1 << 16;
    auto* buffer = static_cast<unsigned char*>(av_malloc(size));
    m->out->pb = avio_alloc_context(buffer, size, 1, &m->fd, nullptr, writeToFd, seekFd);
    // Bit-exact: the same frames give the same file (no random identifiers, no version tags).
    m->out->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
    if (source.reader) {
        VideoInfo const& i = source.reader->info();
        m->sourceBase = {i.timeNum, i.timeDen};
        if (source.from != INT64_MIN) m->shift = source.from;
    }
}

VideoWriter::~VideoWriter() = default;

bool VideoWriter::isOpen() const {
    return m->started;
}

std::vector<std::string> const& VideoWriter::leftOut() const {
    return m->leftOut;
}

std::string VideoWriter::codecName() const {
    return m->enc ? m->enc->codec->name : "";
}

void VideoWriter::open(int width, int height, bool deep, bool alpha) {
    AVCodec const* codec = m->chooseCodec(alpha);
    AVPixelFormat const pixels = m->choosePixels(codec, deep, alpha);
    m->alpha = alpha && keepsAlpha(pixels);
    AVCodecContext* e = m->enc = avcodec_alloc_context3(codec);
    e->width = width;
    e->height = height;
    e->pix_fmt = pixels;
    e->thread_count = 0;
    VideoReader const* r = m->source.reader;
    if (r) {
        VideoInfo const& i = r->info();
        e->framerate = {i.rateNum, i.rateDen};
        e->time_base = m->sourceBase;
        e->color_primaries = AVColorPrimaries(i.primaries);
        e->color_trc = AVColorTransferCharacteristic(i.transfer);
        e->colorspace = AVColorSpace(i.matrix);
        e->color_range = AVColorRange(i.range);
        e->sample_aspect_ratio =
            r->container()->streams[r->videoStream()]->codecpar->sample_aspect_ratio;
    } else { // pictures: sRGB, the BT.709 matrix for Y'CbCr
        e->framerate = av_d2q(m->settings.fps > 0 ? m->settings.fps : 25.0, 100000);
        e->time_base = av_inv_q(e->framerate);
        e->color_primaries = AVCOL_PRI_BT709;
        e->color_trc = AVCOL_TRC_IEC61966_2_1;
        e->colorspace = AVCOL_SPC_BT709;
        e->color_range = AVCOL_RANGE_MPEG;
    }
    if (isRgb(pixels)) {
        e->colorspace = AVCOL_SPC_RGB;
        e->color_range = AVCOL_RANGE_JPEG;
    } else if (e->color_range == AVCOL_RANGE_UNSPECIFIED) {
        e->color_range = AVCOL_RANGE_MPEG;
    }
    if (m->settings.crf >= 0 && av_opt_set_int(e->priv_data, "crf", m->settings.crf, 0) < 0)
        throw UsageError(std::string(codec->name) + " has no --crf; use --bitrate");
    if (!m->settings.bitrate.empty() && av_opt_set(e, "b", m->settings.bitrate.c_str(), 0) < 0)
        throw UsageError("--bitrate " + inQuotes(m->settings.bitrate) + " is not a bit rate");
    if (std::string(codec->name) == "prores_ks")
        av_opt_set(e->priv_data, "profile",
                   keepsAlpha(pixels) || pixels == AV_PIX_FMT_YUV444P10 ? "4444" : "hq", 0);
    if (std::string(codec->name) == "libvpx-vp9") av_opt_set_int(e->priv_data, "row-mt", 1, 0);
    e->flags |= AV_CODEC_FLAG_BITEXACT;
    if (m->out->oformat->flags & AVFMT_GLOBALHEADER) e->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int rc = avcodec_open2(e, codec, nullptr);
    if (rc < 0)
        throw Failure("cannot encode " + inQuotes(m->path) + " with " + codec->name + " (" +
                      av_get_pix_fmt_name(pixels) + "): " + avErrorText(rc));

    m->video = avformat_new_stream(m->out, nullptr);
    avcodec_parameters_from_context(m->video->codecpar, e);
    m->video->time_base = e->time_base;
    m->video->avg_frame_rate = e->framerate;
    if (r) {
        AVFormatContext* in = r->container();
        av_dict_copy(&m->video->metadata, in->streams[r->videoStream()]->metadata, 0);
        av_dict_set(&m->video->metadata, "encoder", nullptr, 0);
        for (unsigned s = 0; s < in->nb_streams; ++s) {
            AVStream* from = in->streams[s];
            AVMediaType const type = from->codecpar->codec_type;
            if (type != AVMEDIA_TYPE_AUDIO && type != AVMEDIA_TYPE_SUBTITLE) continue;
            if (avformat_query_codec(m->out->oformat, from->codecpar->codec_id,
                                     FF_COMPLIANCE_NORMAL) == 0) {
                m->leftOut.push_back(std::string(av_get_media_type_string(type)) + " stream " +
                                     std::to_string(s) + " (" +
                                     avcodec_get_name(from->codecpar->codec_id) + ")");
                continue;
            }
            AVStream* to = avformat_new_stream(m->out, nullptr);
            avcodec_parameters_copy(to->codecpar, from->codecpar);
            to->codecpar->codec_tag = 0;
            to->time_base = from->time_base;
            to->disposition = from->disposition;
            av_dict_copy(&to->metadata, from->metadata, 0);
            m->copies[int(s)] = to;
        }
    }
    if ((rc = avformat_write_header(m->out, nullptr)) < 0) m->fail(rc);
    m->started = true;
    for (AVPacket*& p : m->early) {
        if (m->copies.count(p->stream_index)) m->copyNow(p);
        av_packet_free(&p);
    }
    m->early.clear();
}

void VideoWriter::copy(AVPacket* packet) {
    if (!m->source.reader) return;
    if (!m->started) {
        m->early.push_back(av_packet_clone(packet));
        return;
    }
    if (m->copies.count(packet->stream_index)) m->copyNow(packet);
}

void VideoWriter::write(Picture const& picture, int64_t pts) {
    Picture p = picture;
    if (p.depth == 32) { // the encoders take integers
        Picture w(p.width, p.height, 16);
        for (size_t i = 0; i < p.pixelCount(); ++i)
            for (int c = 0; c < 4; ++c) w.setChannel(i, c, p.channel(i, c));
        p = std::move(w);
    }
    // Without alpha the premultiplied colour is the picture over black.
    if (m->alpha) unpremultiplyPicture(p);
    AVCodecContext* e = m->enc;
    AVFrame* f = av_frame_alloc();
    f->format = e->pix_fmt;
    f->width = e->width;
    f->height = e->height;
    if (av_frame_get_buffer(f, 0) < 0) {
        av_frame_free(&f);
        throw Failure("out of memory for a frame of " + inQuotes(m->path));
    }
    m->scaler = sws_getCachedContext(
        m->scaler, p.width, p.height, p.depth == 16 ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGBA, e->width,
        e->height, e->pix_fmt, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
        nullptr, nullptr);
    int const matrix = e->colorspace == AVCOL_SPC_UNSPECIFIED || e->colorspace == AVCOL_SPC_RGB
                           ? SWS_CS_DEFAULT
                           : int(e->colorspace);
    sws_setColorspaceDetails(m->scaler, sws_getCoefficients(matrix), 1, sws_getCoefficients(matrix),
                             e->color_range == AVCOL_RANGE_JPEG, 0, 1 << 16, 1 << 16);
    uint8_t const* planes[4] = {p.bytes.data()};
    int strides[4] = {p.rowBytes()};
    sws_scale(m->scaler, planes, strides, 0, p.height, f->data, f->linesize);
    f->pts = pts - m->shift;
    f->color_primaries = e->color_primaries;
    f->color_trc = e->color_trc;
    f->colorspace = e->colorspace;
    f->color_range = e->color_range;
    int const r = avcodec_send_frame(e, f);
    av_frame_free(&f);
    if (r < 0) m->fail(r);
    m->drain();
}

void VideoWriter::finish() {
    if (!m->started) return;
    avcodec_send_frame(m->enc, nullptr);
    m->drain();
    int r = av_write_trailer(m->out);
    if (r < 0) m->fail(r);
    avio_flush(m->out->pb);
    if (m->out->pb->error < 0) m->fail(m->out->pb->error);
}
