#!/usr/bin/env python3
"""Writes the benchmark's documents into a directory: generated, in the likeness of the field's usual ones.

The same seed gives the same bytes. All JSON documents stay within what every compared library reads alike:
no \\u escapes, no number with an exponent, and no string that this library would turn into a
timestamp or a byte buffer, which would give it other work than its peers. The TOML documents keep to TOML
1.0 and have no key with a slash, which would lead this library into another table.
"""
import argparse
import datetime
import json
import pathlib
import random
import re

WORDS = {
    "en": "device stream camera update morning signal library release window garden river paper "
          "number project team schedule value record channel network simple quiet number light",
    "ja": "今日は 写真 ありがとう 東京 更新 お知らせ 新しい カメラ 映像 配信 予定 時間 です 見る 友達 音楽",
    "zh": "今天 我们 新闻 视频 发布 网络 设备 城市 时间 朋友 工作 北京 天气 很好 系统 更新",
    "ko": "오늘 사진 안녕하세요 방송 카메라 서울 음악 친구 시간 업데이트 뉴스 좋은 아침",
    "ru": "сегодня камера новости город время обновление проект привет система музыка друг поток",
    "el": "σήμερα κάμερα νέα πόλη χρόνος φίλος μουσική σύστημα καλημέρα έργο",
    "ar": "اليوم صورة مرحبا مدينة وقت تحديث موسيقى صديق أخبار نظام",
    "hi": "आज समाचार कैमरा शहर समय मित्र संगीत परियोजना नमस्ते सुबह",
    "th": "วันนี้ ข่าว กล้อง เมือง เวลา เพื่อน ดนตรี โครงการ สวัสดี",
    "de": "heute Straße Kamera Übertragung schön Nachrichten Gerät größer Fluß Zeit Müller grüßt",
    "fr": "aujourd'hui caméra été où déjà forêt élève garçon théâtre français cœur mise à jour",
    "xx": "🎉 🚀 😂 ❤️ 👍 ✨ 📷 🎵 ☕ 🌍",
}
WORDS = {language: text.split() for language, text in WORDS.items()}
TIMELINE_LANGUAGES = ["ja"] * 9 + ["en"] * 4 + ["zh", "ko", "ru", "el", "ar", "hi", "th", "de", "fr"]

# An escape or number that not every reader takes; text that is more than a string to this library.
FORBIDDEN = re.compile(r'\\u|[\[:,]\s*-?\d+[eE][+-]?\d+\s*[,\]}]|"b64:|"[+-]?\d{4,}-\d\d-\d\dT')


def words(rng, language, low, high):
    return " ".join(rng.choice(WORDS[language]) for _ in range(rng.randint(low, high)))


def sentence(rng, low, high):
    return words(rng, "en", low, high).capitalize() + "."


def name(rng):
    return f"{rng.choice('ABCDEFGHKLMNPRSTW')}{rng.choice(['arin', 'olle', 'eda', 'iko', 'ulian'])} " \
           f"{words(rng, rng.choice(['en', 'de', 'fr']), 1, 1).capitalize()}"


def hexadecimal(rng, digits):
    return f"{rng.getrandbits(4 * digits):0{digits}x}"


def day(rng):
    return f"{rng.choice(['Mon', 'Tue', 'Wed', 'Thu', 'Fri', 'Sat', 'Sun'])} " \
           f"{rng.choice(['Jan', 'Apr', 'Aug', 'Nov'])} {rng.randint(1, 28):02} " \
           f"{rng.randint(0, 23):02}:{rng.randint(0, 59):02}:{rng.randint(0, 59):02} +0000 2024"


def with_id(rng, fields):
    number = rng.randint(10**17, 9 * 10**17)
    return {"id": number, "id_str": str(number), **fields}


def timeline_user(rng, language):
    flags = ("protected geo_enabled verified contributors_enabled is_translator following "
             "profile_use_background_image default_profile default_profile_image notifications "
             "profile_background_tile is_translation_enabled follow_request_sent").split()
    counts = "followers_count friends_count listed_count favourites_count statuses_count".split()
    colours = "background link sidebar_border sidebar_fill text".split()
    handle = hexadecimal(rng, 8)
    user = with_id(rng, {
        "name": words(rng, language, 1, 3), "screen_name": handle,
        "location": words(rng, language, 0, 2), "description": words(rng, language, 0, 45),
        "url": None, "entities": {"description": {"urls": []}},
        "created_at": day(rng), "utc_offset": rng.choice([None, 32400, -18000]),
        "time_zone": rng.choice([None, "Tokyo", "Athens"]), "lang": language,
        "profile_image_url": f"http://images.example/{rng.randint(1, 10**9)}/{handle}_normal.jpeg",
        "profile_banner_url": f"https://images.example/{rng.randint(1, 10**9)}/{handle}"})
    user.update({count: rng.randint(0, 60000) for count in counts})
    user.update({f"profile_{colour}_color": hexadecimal(rng, 6).upper() for colour in colours})
    user.update({flag: rng.random() < 0.3 for flag in flags})
    return user


def timeline_status(rng, may_repeat=True):
    language = rng.choice(TIMELINE_LANGUAGES)
    mentions = [with_id(rng, {"screen_name": hexadecimal(rng, 8), "name": words(rng, language, 1, 2),
                              "indices": [3, 3 + rng.randint(5, 15)]})
                for _ in range(rng.choice([0, 0, 1, 2]))]
    urls = [{"url": f"http://s.example/{hexadecimal(rng, 8)}",
             "expanded_url": f"http://www.example/{hexadecimal(rng, 12)}/{rng.randint(1, 999)}",
             "display_url": "example/" + hexadecimal(rng, 6), "indices": [40, 62]}
            for _ in range(rng.choice([0, 0, 1]))]
    status = with_id(rng, {
        "metadata": {"result_type": "recent", "iso_language_code": language},
        "created_at": day(rng),
        "text": words(rng, language, 12, 40) + rng.choice(["", " ", "\n"]) + words(rng, "xx", 0, 2),
        "source": f"<a href=\"http://apps.example/{rng.randint(1, 40)}\" rel=\"nofollow\">Client</a>",
        "truncated": False, "in_reply_to_status_id": None, "in_reply_to_user_id": None,
        "user": timeline_user(rng, language),
        "geo": None, "coordinates": None, "place": None, "contributors": None})
    if may_repeat and rng.random() < 0.6:
        status["retweeted_status"] = timeline_status(rng, may_repeat=False)
    status.update({"retweet_count": rng.randint(0, 900), "favorite_count": rng.randint(0, 900),
                   "entities": {"hashtags": [], "symbols": [], "urls": urls, "user_mentions": mentions},
                   "favorited": False, "retweeted": rng.random() < 0.1, "lang": language})
    return status


def timeline(rng):
    return {"statuses": [timeline_status(rng) for _ in range(122)],
            "search_metadata": {"completed_in": 87, "count": 122, "query": "%E4%B8%80"}}


def catalogue_event(rng, key, topics):
    return {"description": None, "id": key, "logo": rng.choice([None, f"/images/{key}.png"]),
            "name": words(rng, "fr", 2, 6), "subTopicIds": rng.sample(topics, rng.randint(1, 4)),
            "subjectCode": None, "subtitle": None, "topicIds": rng.sample(topics, rng.randint(1, 3))}


def catalogue_performance(rng, events, categories, areas):
    chosen = rng.sample(categories, rng.randint(3, 6))
    return {"eventId": rng.choice(events), "id": rng.randint(10**8, 9 * 10**8), "logo": None, "name": None,
            "prices": [{"amount": rng.randint(10, 200) * 500, "audienceSubCategoryId": 337100890,
                        "seatCategoryId": category} for category in chosen],
            "seatCategories": [{"areas": [{"areaId": area, "blockIds": []}
                                          for area in rng.sample(areas, rng.randint(3, 9))],
                                "seatCategoryId": category} for category in chosen],
            "freeSeats": {str(area): rng.randint(0, 800) for area in rng.sample(areas, rng.randint(8, 30))},
            "seatMapImage": None, "start": 1372701600000 + 3600000 * rng.randint(0, 9000),
            "venueCode": "HALL_" + rng.choice("ABC")}


def catalogue(rng):
    def keys(count):
        return [rng.randint(10**8, 9 * 10**8) for _ in range(count)]

    def names(of):
        return {str(key): words(rng, "fr", 1, 4) for key in of}

    events, areas, categories, topics = keys(184), keys(40), keys(64), keys(24)
    performances = [catalogue_performance(rng, events, categories, areas) for _ in range(250)]
    return {"areaNames": names(areas), "audienceSubCategoryNames": {"337100890": "Abonné"},
            "blockNames": {}, "events": {str(key): catalogue_event(rng, key, topics) for key in events},
            "performances": performances, "seatCategoryNames": names(categories),
            "subTopicNames": names(topics), "subjectNames": {}, "topicNames": names(topics[:4]),
            "topicSubTopics": {str(key): rng.sample(topics, 6) for key in topics[:4]},
            "venueNames": {"HALL_" + letter: words(rng, "fr", 2, 3) for letter in "ABC"}}


def coordinates(rng):
    def ring(points):
        x, y = rng.uniform(-140, -55), rng.uniform(42, 80)
        for _ in range(points):
            x, y = x + rng.uniform(-0.01, 0.01), y + rng.uniform(-0.01, 0.01)
            yield [float(f"{x:.15g}"), float(f"{y:.15g}")]

    rings = [list(ring(rng.choice([12, 40, 90, 200, 700]))) for _ in range(300)]
    return {"type": "FeatureCollection", "features": [
        {"type": "Feature", "properties": {"name": "Coast"},
         "geometry": {"type": "Polygon", "coordinates": rings}}]}


def project(rng):
    return {"@context": "http://schema.example", "@type": "SoftwareSourceCode", "name": sentence(rng, 3, 9),
            "description": "\r\n".join(sentence(rng, 15, 90) for _ in range(rng.randint(1, 6)))
                           + f"\t\"{words(rng, 'de', 3, 30)}\" {words(rng, 'ru', 0, 20)}",
            "sponsor": {"@type": "Organization", "name": words(rng, "en", 1, 3),
                        "disambiguatingDescription": sentence(rng, 6, 14),
                        "description": sentence(rng, 40, 110),
                        "url": f"https://{hexadecimal(rng, 6)}.example/projects/",
                        "logo": f"https://images.example/{hexadecimal(rng, 32)}"},
            "author": {"@type": "Person", "name": name(rng)}}


def projects(rng):
    return {str(i + 1): project(rng) for i in range(1280)}


def address(rng):
    return f"10.{rng.randint(0, 255)}.{rng.randint(0, 255)}.{rng.randint(1, 254)}"


def interface(rng, i):
    return {"name": f"eth{i}", "mac": ":".join(hexadecimal(rng, 2) for _ in range(6)),
            "dhcp": rng.random() < 0.5, "address": address(rng), "prefix": 24, "gateway": address(rng),
            "mtu": rng.choice([1500, 9000]), "dns": [address(rng), address(rng)], "vlan": None}


def stream(rng, i):
    return {"id": i, "name": f"channel-{i}-{rng.choice(['main', 'sub', 'mobile', 'archive'])}",
            "codec": rng.choice(["h264", "h265", "mjpeg"]), "width": rng.choice([640, 1280, 1920, 3840]),
            "height": rng.choice([480, 720, 1080, 2160]), "bitrate": rng.randint(200, 20000) * 1000,
            "frameRate": rng.choice([25, 30, 29.97, 23.976]), "gop": rng.randint(10, 120),
            "enabled": True, "audio": {"codec": "aac", "sampleRate": 48000, "channels": 2, "gain": -3},
            "targets": [f"rtmp://{address(rng)}:1935/live/{hexadecimal(rng, 16)}"
                        for _ in range(rng.randint(0, 2))]}


def user(rng, i):
    return {"uid": 1000 + i, "login": hexadecimal(rng, 6), "fullName": name(rng),
            "passwordHash": hexadecimal(rng, 40), "groups": ["viewers", "operators", "admins"][:1 + i % 3],
            "locked": rng.random() < 0.1, "lastLogin": day(rng)}


def timer(rng, i):
    return {"id": i, "description": sentence(rng, 2, 6), "period": rng.randint(1, 86400),
            "offset": rng.randint(-3600, 3600), "enabled": rng.random() < 0.8,
            "action": {"type": rng.choice(["reboot", "snapshot", "upload"]), "retries": rng.randint(0, 9),
                       "arguments": [rng.randint(0, 255) for _ in range(rng.randint(0, 4))]}}


def device(rng, i, most=4):
    def some(make):
        return [make(rng, k) for k in range(rng.randint(1, most))]

    return {"serial": rng.randint(10**11, 10**12), "model": f"VX-{rng.randint(100, 999)}",
            "name": f"device-{i:05}", "note": sentence(rng, 10, 20),
            "firmware": f"{rng.randint(1, 9)}.{rng.randint(0, 20)}.{rng.randint(0, 99)}",
            "contact": {"name": name(rng), "mail": hexadecimal(rng, 8) + "@devices.example"},
            "tags": [words(rng, "en", 1, 1) for _ in range(3)],
            "enabled": True, "location": {"site": words(rng, "de", 1, 2),
                                          "latitude": round(rng.uniform(10, 60), 5),
                                          "longitude": round(rng.uniform(10, 60), 5)},
            "network": {"hostname": f"vx{i:05}.devices.example", "interfaces": some(interface),
                        "ntp": {"enabled": True, "servers": ["0.pool.example", "1.pool.example"]}},
            "streams": some(stream), "users": some(user), "timers": some(timer)}


def large(rng):
    return {"format": 3, "generated": day(rng), "sites": {
        f"site-{site:03}": {"contact": name(rng), "devices": [device(rng, 50 * site + i) for i in range(50)]}
        for site in range(83)}}


def small(rng):
    return device(rng, 7, most=1)


# --- TOML ---

def moment(rng):
    zone = datetime.timezone(datetime.timedelta(hours=rng.randint(-9, 9)))
    at = datetime.datetime(rng.randint(1990, 2030), rng.randint(1, 12), rng.randint(1, 28), rng.randint(0, 23),
                           rng.randint(0, 59), rng.randint(0, 59), rng.choice([0, 250000]))
    return rng.choice([at, at.replace(tzinfo=zone), at.replace(tzinfo=zone), at.date(), at.time()])


def toml_device(rng, i, most):
    return {**device(rng, i, most), "installed": moment(rng), "serviced": [moment(rng) for _ in range(2)],
            "pattern": rf"^{hexadecimal(rng, 4)}\.(\d+)\s+\"{words(rng, 'en', 1, 2)}\"$",
            "share": rf"\\{hexadecimal(rng, 6)}\archive\{words(rng, 'en', 1, 1)}",
            "greeting": words(rng, rng.choice(list(WORDS)), 2, 8) + rng.choice(["", "\t'quoted'\\"]),
            "banner": "\n".join(sentence(rng, 6, 14) for _ in range(3)) + "\n",
            "limits": {"temperature": rng.uniform(-40, 90), "load": rng.random()},
            "calibration": [rng.uniform(-2, 2) for _ in range(rng.randint(2, 8))]}


def settings(rng):
    return {"title": sentence(rng, 3, 6), "updated": moment(rng), **toml_device(rng, 7, 2),
            "fallback": toml_device(rng, 8, 2),
            "rooms with names": {words(rng, "de", 2, 2): rng.randint(1, 40) for _ in range(4)}}


def fleet(rng):
    return {"title": sentence(rng, 3, 6), "updated": moment(rng), "sites": {
        f"site-{site:03}": {"contact": name(rng), "devices": [toml_device(rng, 25 * site + i, 3) for i in range(25)]}
        for site in range(26)}}


def samples(rng):
    def rows(count, make):
        return [[make() for _ in range(rng.randint(4, 12))] for _ in range(count)]

    return {f"channel-{i:02}": {
        "rate": 48000, "counts": [rng.randint(-2**rng.randint(1, 40), 2**31) for _ in range(1200)],
        "bytes": [rng.randint(0, 255) for _ in range(1500)],
        "levels": [round(rng.uniform(-100, 100), 3) for _ in range(1200)],
        "matrix": rows(60, lambda: rng.gauss(0, 1))} for i in range(24)}


def toml_key(key):
    return key if re.fullmatch(r"[\w-]+", key, re.ASCII) else json.dumps(key, ensure_ascii=False)


def toml_string(text):
    quoted = json.dumps(text, ensure_ascii=False)
    if "\n" in text:
        return '"""\n' + quoted[1:-1].replace("\\n", "\n") + '"""'
    return f"'{text}'" if "\\" in quoted and "'" not in text and text.isprintable() else quoted


def toml_value(value):
    if isinstance(value, str):
        return toml_string(value)
    if isinstance(value, dict):
        return "{ " + ", ".join(toml_pairs(value)) + " }"
    if isinstance(value, list):
        texts = [toml_value(element) for element in value]
        lines = [", ".join(texts[i:i + 12]) for i in range(0, len(texts), 12)]
        return f"[{', '.join(lines)}]" if len(lines) < 2 else "[\n  " + ",\n  ".join(lines) + ",\n]"
    return value.isoformat() if hasattr(value, "isoformat") else json.dumps(value)


def toml_pairs(table):
    return [f"{toml_key(key)} = {toml_value(value)}" for key, value in table.items() if value is not None]


def toml_kind(value):
    """0 for what stands behind a key, 1 for what has a header, 2 for what has one for each element."""
    if isinstance(value, list):
        return 2 if value and isinstance(value[0], dict) else 0
    return int(isinstance(value, dict) and (len(value) > 3 or any(map(toml_kind, value.values()))))


def toml_lines(table, path=()):
    """The lines of a table: its pairs first, then the tables in it. Small tables are inline."""
    yield from toml_pairs({key: value for key, value in table.items() if toml_kind(value) == 0})
    for key, value in table.items():
        kind = toml_kind(value)
        inner = (*path, toml_key(key))
        for one in [[], [value], value][kind]:
            yield ""
            yield "[" * kind + ".".join(inner) + "]" * kind
            yield from toml_lines(one, inner)


def toml_text(make, seed):
    return "# Written by a program.\n" + "\n".join(toml_lines(make(random.Random(f"{make.__name__} {seed}")))) + "\n"


TOML_DOCUMENTS = [settings, fleet, samples]

# --- All ---

# The indentation of each document: the field's own are partly indented, partly not.
DOCUMENTS = {timeline: 2, catalogue: 4, coordinates: None, projects: 2, small: None, large: None}


def text_of(make, indent, seed):
    document = make(random.Random(f"{make.__name__} {seed}"))
    text = json.dumps(document, ensure_ascii=False, indent=indent,
                      separators=(",", ": " if indent else ":"))
    if make is timeline:  # services of this kind escape every slash
        text = text.replace("/", "\\/")
    found = FORBIDDEN.search(text)
    if found:
        raise ValueError(f"{make.__name__}: {text[found.start():found.start() + 40]!r}")
    return text


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("directory", type=pathlib.Path)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    options.directory.mkdir(parents=True, exist_ok=True)
    for make, indent in DOCUMENTS.items():
        data = text_of(make, indent, options.seed).encode()
        (options.directory / f"{make.__name__}.json").write_bytes(data)
    for make in TOML_DOCUMENTS:
        (options.directory / f"{make.__name__}.toml").write_bytes(toml_text(make, options.seed).encode())


if __name__ == "__main__":
    main()
