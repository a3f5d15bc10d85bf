<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP">
<context>
    <name>CurlTransfer</name>
    <message>
        <source>The response ended within its header</source>
        <translation>応答がヘッダーの途中で終わりました</translation>
    </message>
    <message>
        <source>The header of the response is too long</source>
        <translation>応答のヘッダーが長すぎます</translation>
    </message>
    <message>
        <source>The response has a transfer coding that was not requested</source>
        <translation>応答に、要求していない転送コーディングが使われています</translation>
    </message>
</context>
<context>
    <name>HttpTransfer</name>
    <message>
        <source>The library %1 cannot be loaded: %2</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>ライブラリ %1 を読み込めません: %2</translation>
    </message>
</context>
<context>
    <name>KD::BrowseRobotsDialog</name>
    <message>
        <source>Browse robots</source>
        <translation>ロボットの参照</translation>
    </message>
    <message>
        <source>Connect to</source>
        <translation>接続</translation>
    </message>
    <message>
        <source>Favourite</source>
        <translation>お気に入り</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>キャンセル</translation>
    </message>
    <message>
        <source>Use fixed port</source>
        <translation>固定ポートを使う</translation>
    </message>
    <message>
        <source>If you do not want to use the port returned by Bonjour</source>
        <translation>Bonjour が返すポートを使わない場合</translation>
    </message>
    <message>
        <source>Use fixed IP/hostname</source>
        <translation>固定 IP/ホスト名を使う</translation>
    </message>
    <message>
        <source>If you want to connect to a robot that does not appear in the list</source>
        <translation>一覧にないロボットに接続する場合</translation>
    </message>
    <message>
        <source>Robots</source>
        <translation>ロボット</translation>
    </message>
    <message>
        <source>Ctrl+D makes the selected robot a favourite, or no longer one.</source>
        <translation>Ctrl+D で、選択したロボットをお気に入りに追加または解除します。</translation>
    </message>
    <message>
        <source>Please enter a correct hostname</source>
        <translation>正しいホスト名を入力してください</translation>
    </message>
    <message>
        <source>Please select a robot from the list</source>
        <translation>一覧からロボットを選んでください</translation>
    </message>
    <message>
        <source>Please enter a valid port</source>
        <translation>有効なポートを入力してください</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>エラー</translation>
    </message>
    <message>
        <source>Robaxi is not running on this robot.
Please select another robot, or try to force the port.</source>
        <translation>このロボットでは Robaxi が動作していません。
別のロボットを選ぶか、ポートを固定してください。</translation>
    </message>
    <message>
        <source>View web page</source>
        <translation>ウェブページを表示</translation>
    </message>
    <message>
        <source>Test LEDs</source>
        <translation>LED をテスト</translation>
    </message>
    <message>
        <source>Refresh IP</source>
        <translation>IP を更新</translation>
    </message>
    <message>
        <source>Send clipboard</source>
        <translation>クリップボードを送信</translation>
    </message>
    <message>
        <source>Cannot access to web page</source>
        <translation>ウェブページを開けません</translation>
    </message>
    <message>
        <source>Application was not able to open your default web browser.</source>
        <translation>既定のウェブブラウザーを開けませんでした。</translation>
    </message>
    <message>
        <source>Could not test Leds on this robot.</source>
        <translation>このロボットの LED をテストできませんでした。</translation>
    </message>
    <message>
        <source>Could not send clipboard to this robot : no Ballamor seems to be connected.</source>
        <translation>このロボットにクリップボードを送信できませんでした。Ballamor が接続されていないようです。</translation>
    </message>
    <message>
        <source>No favourite</source>
        <translation>お気に入りなし</translation>
    </message>
    <message>
        <source>Clicking on this column will make this robot one of your favorites. Favourite robots appear on the top.</source>
        <translation>この列をクリックすると、このロボットがお気に入りになります。お気に入りのロボットは一番上に表示されます。</translation>
    </message>
    <message>
        <source>This is a robot with a running Robaxi. Right click to make its face LEDs blink</source>
        <translation>Robaxi が動作しているロボットです。右クリックで顔の LED を点滅させます</translation>
    </message>
    <message>
        <source>This Robaxi is running on a computer.</source>
        <translation>この Robaxi はコンピューターで動作しています。</translation>
    </message>
    <message>
        <source>Robot</source>
        <translation>ロボット</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>コンピューター</translation>
    </message>
    <message>
        <source>This robot does not have a running Robaxi.</source>
        <translation>このロボットでは Robaxi が動作していません。</translation>
    </message>
    <message>
        <source>Robot without Robaxi</source>
        <translation>Robaxi のないロボット</translation>
    </message>
    <message>
        <source>No port</source>
        <extracomment>in the column &quot;Port&quot;</extracomment>
        <translation>ポートなし</translation>
    </message>
    <message>
        <source>No IP yet</source>
        <extracomment>in the column &quot;IP&quot;: the address is still being looked up</extracomment>
        <translation>IP 未取得</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>&amp;Help</source>
        <translation>ヘルプ(&amp;H)</translation>
    </message>
    <message>
        <source>About Obvista</source>
        <translation>Obvista について</translation>
    </message>
    <message>
        <source>Could not connect to Robaxi. Make sure Robaxi is executed on the right IP and listening to the port you have set...
Also make sur that another Obvista is not already connected to this Robaxi.</source>
        <translation>Robaxi に接続できませんでした。正しい IP で Robaxi が動作し、設定したポートで待ち受けていることを確認してください…
また、別の Obvista がこの Robaxi に接続していないことも確認してください。</translation>
    </message>
    <message>
        <source>The plugin &quot;%1&quot; failed and cannot be loaded.</source>
        <translation>プラグイン「%1」でエラーが発生したため、読み込めません。</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>エラー</translation>
    </message>
    <message>
        <source>Robaxi has been disconnected</source>
        <translation>Robaxi との接続が切れました</translation>
    </message>
    <message>
        <source>Obvista will exit now. You have to restart it and connect again.</source>
        <translation>Obvista を終了します。再起動して、もう一度接続してください。</translation>
    </message>
    <message>
        <source>Obvista will close this plugin now. You have to restart it and connect again.</source>
        <translation>Obvista はこのプラグインを閉じます。再起動して、もう一度接続してください。</translation>
    </message>
    <message>
        <source>Cannot listen to Bonjour Network</source>
        <translation>Bonjour ネットワークを監視できません</translation>
    </message>
    <message>
        <source>Make sure Bonjour is properly installed. Browsing function will not be available.</source>
        <translation>Bonjour が正しくインストールされていることを確認してください。ロボットの参照は使えません。</translation>
    </message>
</context>
<context>
    <name>MemoryModel</name>
    <message>
        <source>(no name)</source>
        <translation>(名前なし)</translation>
    </message>
</context>
<context>
    <name>PluginLoader</name>
    <message>
        <source>Launcher</source>
        <translation>ランチャー</translation>
    </message>
</context>
<context>
    <name>QHttp</name>
    <message>
        <source>Unknown error</source>
        <translation>不明なエラー</translation>
    </message>
    <message>
        <source>Request aborted</source>
        <translation>要求は中止されました</translation>
    </message>
    <message>
        <source>Nothing to write the body to</source>
        <translation>応答本文の書き込み先がありません</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CameraBar</name>
    <message>
        <source>Grey</source>
        <extracomment>format of pictures without colours</extracomment>
        <translation>グレー</translation>
    </message>
    <message>
        <source>%1 a second</source>
        <extracomment>%1 is a number of pictures; in a list of rates</extracomment>
        <translation>毎秒 %1</translation>
    </message>
    <message>
        <source>Camera</source>
        <translation>カメラ</translation>
    </message>
    <message>
        <source>the displayed camera</source>
        <translation>表示するカメラ</translation>
    </message>
    <message>
        <source>Resolution</source>
        <translation>解像度</translation>
    </message>
    <message>
        <source>width and height of the pictures that the robot sends, in pixels</source>
        <translation>ロボットが送る画像の幅と高さ(ピクセル)</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>形式</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>レート</translation>
    </message>
    <message>
        <source>frames a second</source>
        <translation>毎秒のフレーム数</translation>
    </message>
    <message>
        <source>Camera and its settings</source>
        <translation>カメラとその設定</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <extracomment>%1 is the name of a control, %2 its purpose</extracomment>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Name of a camera</source>
        <translation>カメラの名前</translation>
    </message>
    <message>
        <source>Camera: the robot does not list its cameras; enter the name of one</source>
        <translation>カメラ: ロボットはカメラの一覧を提供しません。名前を入力してください</translation>
    </message>
    <message>
        <source>%1 Mbit/s</source>
        <translation>%1 Mbit/s</translation>
    </message>
    <message>
        <source>H.264 needs the least bandwidth and JPEG less than the others, which have exact values</source>
        <translation>H.264 は必要な帯域が最も少なく、JPEG は値が正確な他の形式より少なく済みます</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>帯域</translation>
    </message>
    <message>
        <source>the bandwidth of H.264; the more, the better the picture</source>
        <translation>H.264 の帯域。多いほど映像がきれいになります</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>自動</translation>
    </message>
    <message>
        <source>As much as the network carries without delay</source>
        <translation>ネットワークが遅延なく送れるだけの帯域</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CameraViewerWidget</name>
    <message>
        <source>Camera viewer</source>
        <translation>カメラビューアー</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>表示(&amp;V)</translation>
    </message>
    <message>
        <source>Actions on the picture</source>
        <translation>画像の操作</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>画像</translation>
    </message>
    <message>
        <source>pan an enlarged picture</source>
        <translation>拡大した画像を移動</translation>
    </message>
    <message>
        <source>Shift with %1</source>
        <extracomment>%1 is a list of keys</extracomment>
        <translation>Shift と %1</translation>
    </message>
    <message>
        <source>inspect the next pixel</source>
        <translation>次のピクセルを調べる</translation>
    </message>
    <message>
        <source>stop inspecting pixels</source>
        <translation>ピクセルの調査を終了</translation>
    </message>
    <message>
        <source>The robot refuses: %1</source>
        <extracomment>%1 is the robot&apos;s own sentence</extracomment>
        <translation>ロボットが拒否しました: %1</translation>
    </message>
    <message>
        <source>This is the last picture.</source>
        <translation>これが最後の画像です。</translation>
    </message>
    <message>
        <source>fitted, %1</source>
        <extracomment>%1 is a zoom factor</extracomment>
        <translation>ウィンドウに合わせる、%1</translation>
    </message>
    <message>
        <source>grid of pixels</source>
        <extracomment>distance of the lines, in pixels</extracomment>
        <translation>ピクセルのグリッド</translation>
    </message>
    <message>
        <source>grid of %1 pixels</source>
        <translation>%1 ピクセルのグリッド</translation>
    </message>
    <message>
        <source>pixel %1, %2</source>
        <extracomment>column and row</extracomment>
        <translation>ピクセル %1, %2</translation>
    </message>
    <message>
        <source>none</source>
        <extracomment>after &quot;Camera:&quot;, when no camera is chosen</extracomment>
        <translation>なし</translation>
    </message>
    <message>
        <source>Robot: %1</source>
        <extracomment>%1 is a name and an address</extracomment>
        <translation>ロボット: %1</translation>
    </message>
    <message>
        <source>Camera: %1</source>
        <translation>カメラ: %1</translation>
    </message>
    <message>
        <source>The figures were copied to the clipboard.</source>
        <translation>計測値をクリップボードにコピーしました。</translation>
    </message>
    <message>
        <source>Cop&amp;y figures</source>
        <translation>計測値をコピー(&amp;Y)</translation>
    </message>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>ロボットとの接続が失われました。</translation>
    </message>
    <message>
        <source>The robot does not answer.</source>
        <translation>ロボットが応答しません。</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CaptureControls</name>
    <message>
        <source>Picture saved in the folder %1 as %2</source>
        <extracomment>%1 is a folder, %2 the name of a file</extracomment>
        <translation>画像をフォルダー %1 に %2 として保存しました</translation>
    </message>
    <message>
        <source>Nothing was recorded, since no picture arrived.</source>
        <translation>画像が届かなかったため、何も記録されませんでした。</translation>
    </message>
    <message>
        <source>Recorded %1 s (%2) to %3</source>
        <extracomment>%1 is a duration, %2 a size such as &quot;2.5 MB&quot;, %3 a file</extracomment>
        <translation>%1 秒 (%2) を %3 に記録しました</translation>
    </message>
    <message>
        <source>&amp;Snapshot</source>
        <translation>スナップショット(&amp;S)</translation>
    </message>
    <message>
        <source>Save the displayed picture as a PNG file</source>
        <translation>表示中の画像を PNG ファイルに保存</translation>
    </message>
    <message>
        <source>Re&amp;cord</source>
        <translation>記録(&amp;C)</translation>
    </message>
    <message>
        <source>Record the pictures of this camera to a file</source>
        <translation>このカメラの画像をファイルに記録</translation>
    </message>
    <message>
        <source>Folder for pictures and recordings…</source>
        <translation>画像と記録のフォルダー…</translation>
    </message>
    <message>
        <source>Recording format</source>
        <translation>記録の形式</translation>
    </message>
    <message>
        <source>MCAP: all data as sent</source>
        <translation>MCAP: 送られたままの全データ</translation>
    </message>
    <message>
        <source>Matroska: for video players</source>
        <translation>Matroska: 動画プレーヤー用</translation>
    </message>
    <message>
        <source>Completing the recording…</source>
        <translation>記録を完了しています…</translation>
    </message>
    <message>
        <source>Recording: %1 s</source>
        <translation>記録中: %1 秒</translation>
    </message>
    <message numerus="yes">
        <source>%1 frames</source>
        <translation>
            <numerusform>%1 フレーム</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 not recorded: the disk or the processor is too slow</source>
        <extracomment>%1 is a number of pictures</extracomment>
        <translation>
            <numerusform>%1 フレームを記録できませんでした: ディスクまたはプロセッサーが遅すぎます</numerusform>
        </translation>
    </message>
    <message>
        <source>The previous recording is still being completed.</source>
        <translation>前の記録をまだ完了しています。</translation>
    </message>
    <message>
        <source>Folder for pictures and recordings</source>
        <translation>画像と記録のフォルダー</translation>
    </message>
    <message>
        <source>No picture was saved, since the previous ones are still being written.</source>
        <translation>前の画像をまだ書き込んでいるため、画像は保存されませんでした。</translation>
    </message>
</context>
<context>
    <name>cameraviewer::FaultSentence</name>
    <message>
        <source>The camera sends a format that this program does not know.</source>
        <translation>カメラが、このプログラムの知らない形式を送っています。</translation>
    </message>
    <message>
        <source>The camera sends pictures without a size.</source>
        <translation>カメラが、大きさのない画像を送っています。</translation>
    </message>
    <message>
        <source>The camera sends pictures that are too large; the most is 64 million pixels.</source>
        <translation>カメラが大きすぎる画像を送っています。最大は 6400 万ピクセルです。</translation>
    </message>
    <message>
        <source>The camera sends YUV 4:2:2 of an odd width.</source>
        <translation>カメラが、幅が奇数の YUV 4:2:2 を送っています。</translation>
    </message>
    <message>
        <source>The camera sends rows that are shorter than its pictures are wide.</source>
        <translation>カメラが、画像の幅より短い行を送っています。</translation>
    </message>
    <message>
        <source>The camera sends fewer bytes than its pictures need.</source>
        <translation>カメラが、画像に必要なバイト数より少ないデータを送っています。</translation>
    </message>
    <message>
        <source>The camera sends pictures without a byte.</source>
        <translation>カメラが、データのない画像を送っています。</translation>
    </message>
    <message>
        <source>The camera sends JPEGs that cannot be read.</source>
        <translation>カメラが、読み取れない JPEG を送っています。</translation>
    </message>
    <message>
        <source>The camera sends JPEGs of another size than it says.</source>
        <translation>カメラが、通知した大きさと異なる JPEG を送っています。</translation>
    </message>
    <message>
        <source>The camera sends JPEGs that are damaged or incomplete.</source>
        <translation>カメラが、壊れているか不完全な JPEG を送っています。</translation>
    </message>
    <message>
        <source>The camera sends H.264 that is too large; the most is 9.4 million pixels and 4 MiB a frame.</source>
        <translation>カメラが送る H.264 が大きすぎます。上限は 1 フレームあたり 940 万画素、4 MiB です。</translation>
    </message>
    <message>
        <source>The camera sends H.264 that cannot be read.</source>
        <translation>カメラが送る H.264 を読み取れません。</translation>
    </message>
    <message>
        <source>The camera sends H.264 of another size than it says.</source>
        <translation>カメラが送る H.264 の大きさが、カメラの示す大きさと異なります。</translation>
    </message>
    <message>
        <source>The camera sends H.264 that is damaged.</source>
        <translation>カメラが送る H.264 が壊れています。</translation>
    </message>
    <message>
        <source>Showing H.264 needs GStreamer&apos;s element &quot;avdec_h264&quot; or &quot;openh264dec&quot;, which are in the Debian packages gstreamer1.0-libav and gstreamer1.0-plugins-bad. Other formats can be shown.</source>
        <translation>H.264 を表示するには GStreamer のエレメント「avdec_h264」または「openh264dec」が必要です。Debian パッケージ gstreamer1.0-libav と gstreamer1.0-plugins-bad に入っています。他の形式は表示できます。</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Figures</name>
    <message numerus="yes">
        <source>Not shown: %1 frames. %2</source>
        <extracomment>%2 is the sentence that gives the reason</extracomment>
        <translation>
            <numerusform>表示されなかったフレーム: %1。%2</numerusform>
        </translation>
    </message>
    <message>
        <source>unknown (the robot&apos;s clock is ahead)</source>
        <translation>不明 (ロボットの時計が進んでいます)</translation>
    </message>
    <message>
        <source>unknown (the robot&apos;s clock is behind)</source>
        <translation>不明 (ロボットの時計が遅れています)</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 ミリ秒</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>%1 kB/s</source>
        <translation>%1 kB/s</translation>
    </message>
    <message>
        <source>%1 MB/s</source>
        <translation>%1 MB/s</translation>
    </message>
    <message>
        <source>%1 received</source>
        <extracomment>%1 is a number of pictures a second; in the status line</extracomment>
        <translation>受信 %1</translation>
    </message>
    <message>
        <source>%1 shown</source>
        <extracomment>%1 is a number of pictures a second; in the status line</extracomment>
        <translation>表示 %1</translation>
    </message>
    <message>
        <source>%1 dropped a second</source>
        <extracomment>%1 is a number of pictures; in the status line</extracomment>
        <translation>破棄 毎秒 %1</translation>
    </message>
    <message>
        <source>age %1</source>
        <extracomment>age of the shown picture, with its unit; in the status line</extracomment>
        <translation>経過 %1</translation>
    </message>
    <message>
        <source>1 faulty frame</source>
        <translation>不良フレーム 1</translation>
    </message>
    <message numerus="yes">
        <source>%1 faulty frames</source>
        <translation>
            <numerusform>不良フレーム %1</numerusform>
        </translation>
    </message>
    <message>
        <source>no picture</source>
        <translation>画像なし</translation>
    </message>
    <message>
        <source>Received: %1 frames a second</source>
        <translation>受信: 毎秒 %1 フレーム</translation>
    </message>
    <message>
        <source>Shown: %1 frames a second</source>
        <translation>表示: 毎秒 %1 フレーム</translation>
    </message>
    <message>
        <source>Dropped: %1 frames a second</source>
        <translation>破棄: 毎秒 %1 フレーム</translation>
    </message>
    <message>
        <source>Bytes: %1 a second</source>
        <extracomment>%1 is a whole number</extracomment>
        <translation>バイト: 毎秒 %1</translation>
    </message>
    <message>
        <source>Age when shown: %1</source>
        <extracomment>%1 is a time with its unit, or &quot;no picture&quot;</extracomment>
        <translation>表示時の経過時間: %1</translation>
    </message>
    <message>
        <source>State: %1</source>
        <translation>状態: %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::HistogramPanel</name>
    <message>
        <source>No picture</source>
        <translation>画像なし</translation>
    </message>
    <message>
        <source>Range %1 to %2
Mean %3</source>
        <extracomment>darkest, brightest and mean value of a picture without colours</extracomment>
        <translation>範囲 %1 ～ %2
平均 %3</translation>
    </message>
    <message>
        <source>Red</source>
        <translation>赤</translation>
    </message>
    <message>
        <source>Green</source>
        <translation>緑</translation>
    </message>
    <message>
        <source>Blue</source>
        <translation>青</translation>
    </message>
    <message>
        <source>%1 %2 to %3, mean %4</source>
        <extracomment>%1 is a colour; its smallest, largest and mean value</extracomment>
        <translation>%1 %2 ～ %3、平均 %4</translation>
    </message>
    <message>
        <source>S&amp;tretch</source>
        <translation>引き伸ばす(&amp;T)</translation>
    </message>
    <message>
        <source>Histogram, from 0 to 255</source>
        <translation>ヒストグラム (0 ～ 255)</translation>
    </message>
    <message>
        <source>Show the darkest grey black and the brightest white. Values, snapshots and recordings do not change.</source>
        <translation>最も暗いグレーを黒、最も明るいグレーを白で表示します。値、スナップショット、記録は変わりません。</translation>
    </message>
</context>
<context>
    <name>cameraviewer::MatroskaFiles</name>
    <message>
        <source>The disk is nearly full, so the recording has ended. What was recorded can be played.</source>
        <translation>ディスクの空きがほとんどないため、記録を終了しました。記録済みの部分は再生できます。</translation>
    </message>
    <message>
        <source>The disk is full. The part recorded so far can be played.</source>
        <translation>ディスクに空きがありません。それまでに記録された内容は再生できます。</translation>
    </message>
    <message>
        <source>%1 of %2, %3</source>
        <extracomment>title of a video: a camera, its robot and the time</extracomment>
        <translation>%2 の %1、%3</translation>
    </message>
</context>
<context>
    <name>cameraviewer::PictureDecoder</name>
    <message>
        <source>Grey %1</source>
        <extracomment>%1 is the brightness of a pixel, 0 to 255</extracomment>
        <translation>グレー %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::PictureView</name>
    <message>
        <source>Picture of the camera</source>
        <translation>カメラの画像</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Recorder</name>
    <message>
        <source>There is not enough memory to record.</source>
        <translation>記録に必要なメモリーがありません。</translation>
    </message>
</context>
<context>
    <name>cameraviewer::RecordingMark</name>
    <message>
        <source>Recording: %1</source>
        <extracomment>%1 is what the recording says of its progress</extracomment>
        <translation>記録中: %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Situation</name>
    <message>
        <source>This robot offers no cameras: it has no module KVVideo.</source>
        <translation>このロボットはカメラを提供しません。モジュール KVVideo がありません。</translation>
    </message>
    <message>
        <source>This robot does not list its cameras: its module KVVideo has no method getCameras. Enter a camera&apos;s name above to watch it.</source>
        <translation>このロボットはカメラの一覧を提供しません。モジュール KVVideo にメソッド getCameras がありません。表示するカメラの名前を上に入力してください。</translation>
    </message>
    <message>
        <source>The robot does not list its cameras: %1</source>
        <extracomment>%1 is the reason in the robot&apos;s words</extracomment>
        <translation>ロボットはカメラの一覧を提供しません: %1</translation>
    </message>
    <message>
        <source>Connected. Asking the robot for its cameras…</source>
        <translation>接続しました。ロボットのカメラを問い合わせています…</translation>
    </message>
    <message>
        <source>This robot has no camera.</source>
        <translation>このロボットにはカメラがありません。</translation>
    </message>
    <message>
        <source>No camera is chosen.</source>
        <translation>カメラが選択されていません。</translation>
    </message>
    <message>
        <source>The robot has ended the stream of camera &quot;%1&quot;: %2</source>
        <extracomment>%2 is the reason in the robot&apos;s words</extracomment>
        <translation>ロボットがカメラ「%1」の画像を終了しました: %2</translation>
    </message>
    <message>
        <source>Waiting for the first picture of camera &quot;%1&quot;…</source>
        <translation>カメラ「%1」の最初の画像を待っています…</translation>
    </message>
    <message>
        <source>Camera &quot;%1&quot; has not sent a picture in %2 s.</source>
        <translation>カメラ「%1」から %2 秒間画像が届いていません。</translation>
    </message>
    <message>
        <source>Camera &quot;%1&quot; stopped sending %2 s ago.</source>
        <translation>カメラ「%1」は %2 秒前に送信を停止しました。</translation>
    </message>
    <message>
        <source>Paused.</source>
        <translation>一時停止中。</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Snapshot</name>
    <message>
        <source>The snapshot %1 could not be written: %2.</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>スナップショット %1 を書き込めませんでした: %2。</translation>
    </message>
    <message>
        <source>there is no picture</source>
        <translation>画像がありません</translation>
    </message>
</context>
<context>
    <name>cameraviewer::ViewActions</name>
    <message>
        <source>&amp;Pause</source>
        <translation>一時停止(&amp;P)</translation>
    </message>
    <message>
        <source>Pause the picture</source>
        <translation>画像を一時停止</translation>
    </message>
    <message>
        <source>&amp;Fit</source>
        <translation>ウィンドウに合わせる(&amp;F)</translation>
    </message>
    <message>
        <source>Show the whole picture as large as possible</source>
        <translation>画像全体をできるだけ大きく表示</translation>
    </message>
    <message>
        <source>&amp;1:1</source>
        <translation>等倍(&amp;1)</translation>
    </message>
    <message>
        <source>Show each pixel of the picture as one pixel of the screen</source>
        <translation>画像の 1 ピクセルを画面の 1 ピクセルで表示</translation>
    </message>
    <message>
        <source>Zoom &amp;in</source>
        <translation>拡大(&amp;I)</translation>
    </message>
    <message>
        <source>Enlarge the picture</source>
        <translation>画像を拡大</translation>
    </message>
    <message>
        <source>Zoom &amp;out</source>
        <translation>縮小(&amp;O)</translation>
    </message>
    <message>
        <source>Shrink the picture</source>
        <translation>画像を縮小</translation>
    </message>
    <message>
        <source>&amp;Rotate right</source>
        <translation>右に回転(&amp;R)</translation>
    </message>
    <message>
        <source>Rotate the picture by a quarter turn, clockwise</source>
        <translation>画像を時計回りに 90 度回転</translation>
    </message>
    <message>
        <source>Rotate &amp;left</source>
        <translation>左に回転(&amp;L)</translation>
    </message>
    <message>
        <source>Rotate the picture by a quarter turn, anticlockwise</source>
        <translation>画像を反時計回りに 90 度回転</translation>
    </message>
    <message>
        <source>Flip &amp;horizontally</source>
        <translation>左右反転(&amp;H)</translation>
    </message>
    <message>
        <source>Mirror left and right</source>
        <translation>左右を入れ替える</translation>
    </message>
    <message>
        <source>Flip &amp;vertically</source>
        <translation>上下反転(&amp;V)</translation>
    </message>
    <message>
        <source>Mirror top and bottom</source>
        <translation>上下を入れ替える</translation>
    </message>
    <message>
        <source>&amp;As the camera sees it</source>
        <translation>カメラの向きのまま(&amp;A)</translation>
    </message>
    <message>
        <source>Neither rotated nor flipped</source>
        <translation>回転も反転もしない</translation>
    </message>
    <message>
        <source>&amp;Grid</source>
        <translation>グリッド(&amp;G)</translation>
    </message>
    <message>
        <source>Lines between pixels or groups of pixels</source>
        <translation>ピクセルまたはその集まりの間の線</translation>
    </message>
    <message>
        <source>Histogram of the picture&apos;s values</source>
        <translation>画像の値のヒストグラム</translation>
    </message>
    <message>
        <source>Histogra&amp;m</source>
        <translation>ヒストグラム(&amp;M)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CsvFile</name>
    <message>
        <source>The disk is full.</source>
        <translation>ディスクがいっぱいです。</translation>
    </message>
    <message>
        <source>The file has reached the largest size allowed.</source>
        <translation>ファイルが許可された最大サイズに達しました。</translation>
    </message>
    <message>
        <source>You are not allowed to write there.</source>
        <translation>書き込む権限がありません。</translation>
    </message>
    <message>
        <source>The folder does not exist.</source>
        <translation>フォルダーが存在しません。</translation>
    </message>
    <message>
        <source>It is a folder.</source>
        <translation>これはフォルダーです。</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2</source>
        <extracomment>%1 is a file, %2 a sentence</extracomment>
        <translation>%1 に書き込めません: %2</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CurveLegend</name>
    <message>
        <source>Curves</source>
        <translation>曲線</translation>
    </message>
    <message>
        <source>Curve</source>
        <translation>曲線</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>値</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>グラフ %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CurveReading</name>
    <message>
        <source>no value yet</source>
        <translation>値がまだありません</translation>
    </message>
    <message>
        <source>none</source>
        <extracomment>no value at the time of the cursor</extracomment>
        <translation>なし</translation>
    </message>
    <message>
        <source>Newest value</source>
        <translation>最新の値</translation>
    </message>
    <message>
        <source>Current value</source>
        <extracomment>the value at the position of a replay</extracomment>
        <translation>現在の値</translation>
    </message>
</context>
<context>
    <name>memoryviewer::FilterExpression</name>
    <message>
        <source>&quot;%1&quot; is not a valid regular expression: %2.</source>
        <extracomment>%2 is the library&apos;s reason, in English</extracomment>
        <translation>「%1」は有効な正規表現ではありません: %2。</translation>
    </message>
    <message>
        <source>There is no type &quot;%1&quot;; the types are %2.</source>
        <extracomment>%2 is a list of words that stay English</extracomment>
        <translation>型「%1」はありません。型は %2 です。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a number of seconds above 0.</source>
        <translation>「%1」は 0 より大きい秒数ではありません。</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyActions</name>
    <message>
        <source>Edit value</source>
        <translation>値を編集</translation>
    </message>
    <message>
        <source>Undo last write</source>
        <translation>最後の書き込みを元に戻す</translation>
    </message>
    <message>
        <source>Copy name</source>
        <translation>名前をコピー</translation>
    </message>
    <message>
        <source>Copy value</source>
        <translation>値をコピー</translation>
    </message>
    <message>
        <source>Copy row</source>
        <translation>行をコピー</translation>
    </message>
    <message>
        <source>Watch</source>
        <extracomment>verb: add the key to the list of watched values</extracomment>
        <translation>監視</translation>
    </message>
    <message>
        <source>Plot</source>
        <extracomment>verb: show the key as a curve</extracomment>
        <translation>グラフに表示</translation>
    </message>
    <message>
        <source>Plot separately</source>
        <extracomment>verb: show the key in a separate plot</extracomment>
        <translation>単独でグラフに表示</translation>
    </message>
    <message>
        <source>Stop watching</source>
        <translation>監視をやめる</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyCells</name>
    <message>
        <source>Value</source>
        <translation>値</translation>
    </message>
    <message>
        <source>Changed</source>
        <extracomment>before the time of the last change of a value</extracomment>
        <translation>変更</translation>
    </message>
    <message>
        <source>Accepts</source>
        <extracomment>before the range of a value</extracomment>
        <translation>受け付ける値</translation>
    </message>
    <message>
        <source>Writable: F2 edits the value.</source>
        <translation>書き込み可能: F2 で値を編集します。</translation>
    </message>
    <message>
        <source>%1, writable</source>
        <extracomment>%1 is a value; for screen readers</extracomment>
        <translation>%1、書き込み可能</translation>
    </message>
    <message>
        <source>Changes a second. No more can be seen than are sent: see the rate above.</source>
        <translation>毎秒の変化数。送られた数より多くは表示できません。上のレートを参照してください。</translation>
    </message>
    <message>
        <source>Time since the value last changed, by the robot&apos;s clock.</source>
        <translation>ロボットの時計による、値が最後に変わってからの時間。</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名前</translation>
    </message>
    <message>
        <source>Unit</source>
        <translation>単位</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>型</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>レート</translation>
    </message>
    <message>
        <source>Age</source>
        <translation>経過</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>%1:%2 min</source>
        <extracomment>minutes and seconds</extracomment>
        <translation>%1:%2 分</translation>
    </message>
    <message>
        <source>%1 h</source>
        <translation>%1 時間</translation>
    </message>
    <message>
        <source>%1 d</source>
        <translation>%1 日</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyRecording</name>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>ロボットとの接続が失われました。</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyTreeView</name>
    <message>
        <source>Values in the robot&apos;s memory</source>
        <translation>ロボットのメモリー内の値</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemorySession</name>
    <message>
        <source>the robot is lost</source>
        <translation>ロボットとの接続が失われています</translation>
    </message>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>ロボットとの接続が失われました。</translation>
    </message>
    <message>
        <source>The robot does not answer.</source>
        <translation>ロボットが応答しません。</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryShortcuts</name>
    <message>
        <source>Memory viewer</source>
        <translation>メモリービューアー</translation>
    </message>
    <message>
        <source>go to the filter</source>
        <translation>フィルターへ移動</translation>
    </message>
    <message>
        <source>pause or resume</source>
        <translation>一時停止、または再開</translation>
    </message>
    <message>
        <source>Alt+R</source>
        <extracomment>must be the key of &quot;&amp;Record…&quot;</extracomment>
        <translation>Alt+R</translation>
    </message>
    <message>
        <source>start or stop recording</source>
        <translation>記録を開始または停止</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>フィルター</translation>
    </message>
    <message>
        <source>Enter, Down</source>
        <translation>Enter、↓</translation>
    </message>
    <message>
        <source>go to the first matching key</source>
        <translation>一致する最初のキーへ移動</translation>
    </message>
    <message>
        <source>Esc</source>
        <translation>Esc</translation>
    </message>
    <message>
        <source>clear the filter</source>
        <translation>フィルターをクリア</translation>
    </message>
    <message>
        <source>Keys and watched values</source>
        <translation>キーと監視中の値</translation>
    </message>
    <message>
        <source>arrows, *</source>
        <translation>矢印、*</translation>
    </message>
    <message>
        <source>move, open and close a branch; open all below</source>
        <translation>移動、枝の開閉; 下をすべて開く</translation>
    </message>
    <message>
        <source>letters</source>
        <translation>文字</translation>
    </message>
    <message>
        <source>go to a row by its name</source>
        <translation>名前で行へ移動</translation>
    </message>
    <message>
        <source>watch or stop watching</source>
        <translation>監視、または解除</translation>
    </message>
    <message>
        <source>plot</source>
        <translation>グラフに表示</translation>
    </message>
    <message>
        <source>F2</source>
        <translation>F2</translation>
    </message>
    <message>
        <source>edit the value</source>
        <translation>値を編集</translation>
    </message>
    <message>
        <source>undo the last write</source>
        <translation>最後の書き込みを元に戻す</translation>
    </message>
    <message>
        <source>copy the selected rows</source>
        <translation>選択した行をコピー</translation>
    </message>
    <message>
        <source>Alt+Up, Alt+Down</source>
        <translation>Alt+↑、Alt+↓</translation>
    </message>
    <message>
        <source>move a watched row</source>
        <translation>監視中の行を移動</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>stop watching</source>
        <translation>監視をやめる</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>メニュー</translation>
    </message>
    <message>
        <source>menu of the row</source>
        <translation>行のメニュー</translation>
    </message>
    <message>
        <source>Plots</source>
        <translation>グラフ</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Space</translation>
    </message>
    <message>
        <source>follow the newest values, or pause</source>
        <translation>最新の値を追う、または一時停止</translation>
    </message>
    <message>
        <source>End</source>
        <translation>End</translation>
    </message>
    <message>
        <source>follow the newest values</source>
        <translation>最新の値を追う</translation>
    </message>
    <message>
        <source>arrows, Page Up, Page Down</source>
        <translation>矢印、Page Up、Page Down</translation>
    </message>
    <message>
        <source>pan</source>
        <translation>移動</translation>
    </message>
    <message>
        <source>+, -</source>
        <translation>+、-</translation>
    </message>
    <message>
        <source>zoom in time</source>
        <translation>時間軸の拡大・縮小</translation>
    </message>
    <message>
        <source>Ctrl++, Ctrl+-</source>
        <translation>Ctrl++、Ctrl+-</translation>
    </message>
    <message>
        <source>zoom in values</source>
        <translation>値軸の拡大・縮小</translation>
    </message>
    <message>
        <source>F</source>
        <translation>F</translation>
    </message>
    <message>
        <source>fit the values axis</source>
        <translation>値軸を合わせる</translation>
    </message>
    <message>
        <source>Home, 0</source>
        <translation>Home、0</translation>
    </message>
    <message>
        <source>show all stored points</source>
        <translation>保持している点をすべて表示</translation>
    </message>
    <message>
        <source>Shift+Left, Shift+Right</source>
        <translation>Shift+←、Shift+→</translation>
    </message>
    <message>
        <source>move the cursor</source>
        <translation>カーソルを移動</translation>
    </message>
    <message>
        <source>hide the cursor</source>
        <translation>カーソルを隠す</translation>
    </message>
    <message>
        <source>in the legend: remove the curve or the plot</source>
        <translation>凡例で: 曲線またはグラフを削除</translation>
    </message>
    <message>
        <source>menu of the plot</source>
        <translation>グラフのメニュー</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryTexts</name>
    <message>
        <source>Connected. Waiting for the robot&apos;s keys…</source>
        <translation>接続しました。ロボットのキーを待っています…</translation>
    </message>
    <message>
        <source>The robot&apos;s memory contains no keys.</source>
        <translation>ロボットのメモリーにキーがありません。</translation>
    </message>
    <message>
        <source>The robot does not provide values: %1</source>
        <extracomment>%1 is the robot&apos;s reason</extracomment>
        <translation>ロボットから値が得られません: %1</translation>
    </message>
    <message>
        <source>1 key</source>
        <translation>キー 1 個</translation>
    </message>
    <message numerus="yes">
        <source>%n keys</source>
        <translation>
            <numerusform>キー %n 個</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <extracomment>a number, and a text such as &quot;500 keys&quot;</extracomment>
        <translation>%2 中 %1</translation>
    </message>
    <message>
        <source>paused</source>
        <translation>一時停止中</translation>
    </message>
    <message>
        <source>no change for %1 s</source>
        <extracomment>in the status line</extracomment>
        <translation>%1 秒間変化なし</translation>
    </message>
    <message>
        <source>1 update a second</source>
        <translation>毎秒 1 回更新</translation>
    </message>
    <message numerus="yes">
        <source>%n updates a second</source>
        <translation>
            <numerusform>毎秒 %n 回更新</numerusform>
        </translation>
    </message>
    <message>
        <source>waiting for keys</source>
        <translation>キーを待っています</translation>
    </message>
    <message>
        <source>no values</source>
        <translation>値なし</translation>
    </message>
    <message>
        <source>robot lost</source>
        <translation>ロボットとの接続断</translation>
    </message>
    <message>
        <source>connection closed</source>
        <translation>接続は閉じられました</translation>
    </message>
    <message>
        <source>None of the %1 keys matches the filter &quot;%2&quot;.</source>
        <extracomment>%1 is a number, %2 what the user entered</extracomment>
        <translation>%1 個のキーのうち、フィルター「%2」に一致するものはありません。</translation>
    </message>
    <message>
        <source>These are the last values received.</source>
        <translation>最後に受信した値を表示しています。</translation>
    </message>
    <message>
        <source>Paused. These are the values of %1.</source>
        <extracomment>%1 is a time of day</extracomment>
        <translation>一時停止中。%1 の値を表示しています。</translation>
    </message>
    <message>
        <source>round trip %1 ms</source>
        <extracomment>in the status line</extracomment>
        <translation>往復 %1 ミリ秒</translation>
    </message>
    <message>
        <source>age %1</source>
        <extracomment>time since the newest value, with its unit; in the status line</extracomment>
        <translation>経過 %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryToolBar</name>
    <message>
        <source>Filter</source>
        <translation>フィルター</translation>
    </message>
    <message>
        <source>Filter: words, re:, type:, changed:</source>
        <translation>フィルター: 語, re:, type:, changed:</translation>
    </message>
    <message>
        <source>Shows the keys that match every term:
head pos	words in the name
-yaw	not in the name (before any term)
re:Joint\d+	regular expression
type:float	type of the value
changed:30	changed in the last 30 s (5 when nothing is said)</source>
        <translation>すべての条件に合うキーを表示します:
head pos	名前に含まれる語
-yaw	名前に含まれない (どの条件にも付けられる)
re:Joint\d+	正規表現
type:float	値の型
changed:30	直近 30 秒に変化 (省略時は 5)</translation>
    </message>
    <message>
        <source>Clear the filter</source>
        <translation>フィルターをクリア</translation>
    </message>
    <message>
        <source>List</source>
        <extracomment>show the keys as a list instead of a tree</extracomment>
        <translation>一覧</translation>
    </message>
    <message>
        <source>Keys by their full names instead of a tree</source>
        <translation>ツリーではなく完全な名前でキーを表示</translation>
    </message>
    <message>
        <source>Columns</source>
        <translation>列</translation>
    </message>
    <message>
        <source>Choose the columns</source>
        <translation>列を選択</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>一時停止</translation>
    </message>
    <message>
        <source>Pause updates (Ctrl+Space)</source>
        <translation>更新を一時停止 (Ctrl+Space)</translation>
    </message>
    <message>
        <source>Updates a second</source>
        <translation>毎秒の更新数</translation>
    </message>
    <message>
        <source>How often the robot sends changed values</source>
        <translation>ロボットが変化を送る頻度</translation>
    </message>
    <message>
        <source>%1 Hz</source>
        <translation>%1 Hz</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryViewerWidget</name>
    <message>
        <source>Memory viewer</source>
        <translation>メモリービューアー</translation>
    </message>
    <message>
        <source>%1 keeps its value: %2</source>
        <extracomment>%1 is a key; %2 says why it was not changed</extracomment>
        <translation>%1 の値は変わりません: %2</translation>
    </message>
    <message>
        <source>Nothing was written. %1</source>
        <extracomment>%1 says why</extracomment>
        <translation>何も書き込まれませんでした。%1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotChoice</name>
    <message numerus="yes">
        <source>No more than %n keys are plotted at a time.</source>
        <translation>
            <numerusform>一度にグラフに表示できるキーは %n 個までです。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>No more than %n plots are shown at a time.</source>
        <translation>
            <numerusform>一度に表示できるグラフは %n 個までです。</numerusform>
        </translation>
    </message>
    <message>
        <source>Not plotted, since the values are not numbers: %1.</source>
        <extracomment>%1 is a list of keys</extracomment>
        <translation>値が数値でないため、グラフに表示されません: %1。</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotExport</name>
    <message>
        <source>%1 cannot be written: %2.</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>%1 に書き込めません: %2。</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotMenu</name>
    <message>
        <source>&amp;Fit values</source>
        <translation>値に合わせる(&amp;F)</translation>
    </message>
    <message>
        <source>Show &amp;all points</source>
        <translation>すべての点を表示(&amp;A)</translation>
    </message>
    <message>
        <source>Remove p&amp;lot</source>
        <translation>グラフを削除(&amp;L)</translation>
    </message>
    <message>
        <source>&amp;Remove curve</source>
        <translation>曲線を削除(&amp;R)</translation>
    </message>
    <message>
        <source>&amp;Move curve to</source>
        <translation>曲線の移動先(&amp;M)</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>グラフ %1</translation>
    </message>
    <message>
        <source>&amp;New plot</source>
        <translation>新しいグラフ(&amp;N)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotPanel</name>
    <message>
        <source>Nothing is plotted yet.

Drag keys with numbers here, or plot them from their menu.</source>
        <translation>まだ何も表示されていません。

数値のキーをここにドラッグするか、メニューからグラフに表示してください。</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>グラフ %1</translation>
    </message>
    <message>
        <source>No plots</source>
        <translation>グラフなし</translation>
    </message>
    <message>
        <source>%1 of %2 points kept</source>
        <extracomment>two numbers</extracomment>
        <translation>%2 点中 %1 点を保持</translation>
    </message>
    <message>
        <source>following</source>
        <extracomment>the plots move with the newest values; in the status line</extracomment>
        <translation>追従中</translation>
    </message>
    <message>
        <source>paused: Space or End follows the newest values</source>
        <translation>一時停止中: Space または End で最新の値を追います</translation>
    </message>
    <message>
        <source>Space or End follows the position of the replay</source>
        <translation>Space または End で再生位置を追います</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotSaving</name>
    <message>
        <source>Save &amp;picture (PNG)…</source>
        <translation>画像を保存 (PNG)(&amp;P)…</translation>
    </message>
    <message>
        <source>Save p&amp;oints shown (CSV)…</source>
        <translation>表示中の点を保存 (CSV)(&amp;O)…</translation>
    </message>
    <message>
        <source>Save all poin&amp;ts (CSV)…</source>
        <translation>すべての点を保存 (CSV)(&amp;T)…</translation>
    </message>
    <message>
        <source>Save picture</source>
        <translation>画像を保存</translation>
    </message>
    <message>
        <source>Pictures (*.png)</source>
        <translation>画像 (*.png)</translation>
    </message>
    <message>
        <source>Save points</source>
        <translation>点を保存</translation>
    </message>
    <message>
        <source>Comma-separated values (*.csv)</source>
        <translation>カンマ区切りの値 (*.csv)</translation>
    </message>
    <message>
        <source>Picture saved in %1.</source>
        <extracomment>%1 is a file</extracomment>
        <translation>画像を %1 に保存しました。</translation>
    </message>
    <message>
        <source>Points are being saved already.</source>
        <translation>すでに点を保存しています。</translation>
    </message>
    <message>
        <source>Saving points…</source>
        <translation>点を保存しています…</translation>
    </message>
    <message>
        <source>1 point saved in %1.</source>
        <extracomment>%1 is a file</extracomment>
        <translation>1 点を %1 に保存しました。</translation>
    </message>
    <message numerus="yes">
        <source>%1 points saved in %2.</source>
        <extracomment>%2 is a file</extracomment>
        <translation>
            <numerusform>%1 点を %2 に保存しました。</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotToolBar</name>
    <message>
        <source>&amp;5 seconds</source>
        <translation>5 秒(&amp;5)</translation>
    </message>
    <message>
        <source>&amp;10 seconds</source>
        <translation>10 秒(&amp;1)</translation>
    </message>
    <message>
        <source>&amp;30 seconds</source>
        <translation>30 秒(&amp;3)</translation>
    </message>
    <message>
        <source>1 &amp;minute</source>
        <translation>1 分(&amp;M)</translation>
    </message>
    <message>
        <source>5 m&amp;inutes</source>
        <translation>5 分(&amp;I)</translation>
    </message>
    <message>
        <source>30 mi&amp;nutes</source>
        <translation>30 分(&amp;N)</translation>
    </message>
    <message>
        <source>1 &amp;hour</source>
        <translation>1 時間(&amp;H)</translation>
    </message>
    <message>
        <source>Plots</source>
        <translation>グラフ</translation>
    </message>
    <message>
        <source>&amp;Time shown</source>
        <translation>表示する時間(&amp;T)</translation>
    </message>
    <message>
        <source>Time span shown (+ and -, wheel)</source>
        <translation>表示する時間の長さ (+ と -、ホイール)</translation>
    </message>
    <message>
        <source>Show &amp;all</source>
        <translation>すべて表示(&amp;A)</translation>
    </message>
    <message>
        <source>Show all stored points (Home)</source>
        <translation>保持している点をすべて表示 (Home)</translation>
    </message>
    <message>
        <source>&amp;New plot</source>
        <translation>新しいグラフ(&amp;N)</translation>
    </message>
    <message>
        <source>Add an empty plot for the next keys</source>
        <translation>次のキー用に空のグラフを追加</translation>
    </message>
    <message>
        <source>&amp;Clear</source>
        <translation>消去(&amp;C)</translation>
    </message>
    <message>
        <source>Clear the points and continue with new ones</source>
        <translation>点を消去し、新しい点から続ける</translation>
    </message>
    <message>
        <source>Remove a&amp;ll</source>
        <translation>すべて削除(&amp;L)</translation>
    </message>
    <message>
        <source>Remove all keys from the plots</source>
        <translation>すべてのキーをグラフから削除</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>保存(&amp;S)</translation>
    </message>
    <message>
        <source>Save the current plot or its points</source>
        <translation>現在のグラフまたはその点を保存</translation>
    </message>
    <message>
        <source>&amp;Follow</source>
        <translation>追従(&amp;F)</translation>
    </message>
    <message>
        <source>Follow the newest values (Space, End)</source>
        <translation>最新の値を追う (Space、End)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotView</name>
    <message>
        <source>Robot&apos;s time</source>
        <extracomment>title of the time axis; %1 is a date</extracomment>
        <translation>ロボットの時刻</translation>
    </message>
    <message>
        <source>Robot&apos;s time, %1</source>
        <translation>ロボットの時刻、%1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::RecordingBar</name>
    <message>
        <source>Record</source>
        <translation>記録</translation>
    </message>
    <message>
        <source>Recordings (*.mcap);;Comma-separated values (*.csv)</source>
        <translation>記録 (*.mcap);;カンマ区切りの値 (*.csv)</translation>
    </message>
    <message>
        <source>Stop &amp;recording</source>
        <translation>記録を停止(&amp;R)</translation>
    </message>
    <message>
        <source>&amp;Record…</source>
        <translation>記録(&amp;R)…</translation>
    </message>
    <message>
        <source>Stop recording</source>
        <translation>記録を停止</translation>
    </message>
    <message>
        <source>Record to a file</source>
        <translation>ファイルに記録</translation>
    </message>
    <message>
        <source>Not recording.</source>
        <translation>記録していません。</translation>
    </message>
    <message numerus="yes">
        <source>%1 values</source>
        <translation>
            <numerusform>値 %1 個</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 changes lost, since the disk is too slow</source>
        <translation>
            <numerusform>ディスクが遅すぎるため、%1 個の変化が失われました</numerusform>
        </translation>
    </message>
    <message>
        <source>The file contains the values up to that point.</source>
        <translation>ファイルにはその時点までの値が含まれています。</translation>
    </message>
    <message>
        <source>Recorded</source>
        <extracomment>before the size and duration of a recording that has ended</extracomment>
        <translation>記録済み</translation>
    </message>
</context>
<context>
    <name>memoryviewer::ValueDelegate</name>
    <message>
        <source>New value</source>
        <translation>新しい値</translation>
    </message>
    <message>
        <source> (being written…)</source>
        <translation> (書き込み中…)</translation>
    </message>
    <message>
        <source> (written)</source>
        <translation> (書き込み済み)</translation>
    </message>
    <message>
        <source> (not written)</source>
        <translation> (書き込み失敗)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::ValueEntry</name>
    <message>
        <source>Enter true or false.</source>
        <translation>true または false を入力してください。</translation>
    </message>
    <message>
        <source>The number is too large: a whole number has 64 bits.</source>
        <translation>数が大きすぎます。整数は 64 ビットです。</translation>
    </message>
    <message>
        <source>Enter a whole number, for instance -12.</source>
        <translation>整数を入力してください (例: -12)。</translation>
    </message>
    <message>
        <source>The number is too large.</source>
        <translation>数が大きすぎます。</translation>
    </message>
    <message>
        <source>Enter a number, for instance -0.5 or 1e-3.</source>
        <translation>数を入力してください (例: -0.5、1e-3)。</translation>
    </message>
    <message>
        <source>Write numbers with a decimal point and without commas.</source>
        <translation>数は小数点を使い、カンマなしで書いてください。</translation>
    </message>
    <message>
        <source>Values of this type cannot be entered.</source>
        <translation>この型の値は入力できません。</translation>
    </message>
</context>
<context>
    <name>memoryviewer::WatchModel</name>
    <message>
        <source>not there</source>
        <extracomment>instead of the value of a watched key</extracomment>
        <translation>存在しません</translation>
    </message>
    <message>
        <source>&lt;p&gt;The robot does not have this key at present. It is shown again when it returns.&lt;/p&gt;</source>
        <translation>&lt;p&gt;ロボットには現在このキーがありません。戻ると再び表示されます。&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>memoryviewer::WatchView</name>
    <message>
        <source>Watched values</source>
        <translation>監視中の値</translation>
    </message>
    <message>
        <source>Drag keys here, or press Ctrl+D, to watch them.</source>
        <translation>キーをここにドラッグするか、Ctrl+D を押すと監視できます。</translation>
    </message>
</context>
<context>
    <name>obvista::Banner</name>
    <message>
        <source>Connect</source>
        <translation>接続</translation>
    </message>
    <message>
        <source>Give up</source>
        <translation>中止</translation>
    </message>
</context>
<context>
    <name>obvista::KeyList</name>
    <message>
        <source>Keys</source>
        <extracomment>keys of the keyboard, beside what each does</extracomment>
        <translation>キー操作</translation>
    </message>
    <message>
        <source>Effect</source>
        <translation>動作</translation>
    </message>
</context>
<context>
    <name>obvista::LinkState</name>
    <message>
        <source>The robot is lost.</source>
        <translation>ロボットとの接続が失われました。</translation>
    </message>
    <message>
        <source>The connection is closed.</source>
        <translation>接続は閉じられました。</translation>
    </message>
</context>
<context>
    <name>obvista::ReplayState</name>
    <message>
        <source>replay at %1</source>
        <translation>再生 %1</translation>
    </message>
    <message>
        <source>replay paused</source>
        <translation>再生一時停止中</translation>
    </message>
</context>
<context>
    <name>obvista::RobotHeader</name>
    <message>
        <source>Robot %1, %2</source>
        <extracomment>name and address, for screen readers</extracomment>
        <translation>ロボット %1、%2</translation>
    </message>
    <message>
        <source>Reconnect when the robot returns</source>
        <translation>ロボットが戻ったら再接続する</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>接続</translation>
    </message>
    <message>
        <source>Settings of the connection to the robot</source>
        <translation>ロボットとの接続の設定</translation>
    </message>
    <message>
        <source>Dock</source>
        <extracomment>on a button: put a viewer that has its own window back into the main window</extracomment>
        <translation>ドッキング</translation>
    </message>
    <message>
        <source>Put the viewer back into the main window</source>
        <translation>ビューアーをメインウィンドウに戻す</translation>
    </message>
</context>
<context>
    <name>obvista::TimeBar</name>
    <message>
        <source>Step back</source>
        <translation>前へ戻る</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>再生</translation>
    </message>
    <message>
        <source>Step forward</source>
        <translation>次へ進む</translation>
    </message>
    <message>
        <source>Time in the recording</source>
        <translation>記録内の時刻</translation>
    </message>
    <message>
        <source>The part of the recording that the robot shows. Space plays and pauses, the arrows step, Home and End go to its ends.</source>
        <translation>ロボットが示している記録の位置です。Space で再生と一時停止、矢印で 1 つずつ移動、Home と End で両端に移動します。</translation>
    </message>
    <message>
        <source>Speed</source>
        <extracomment>of a replay</extracomment>
        <translation>速度</translation>
    </message>
    <message>
        <source>Recorded seconds per second</source>
        <translation>1 秒あたりに進む記録の秒数</translation>
    </message>
    <message>
        <source>Begin again at the end</source>
        <translation>終わりまで来たら最初から繰り返す</translation>
    </message>
    <message>
        <source>Time bar of a replay</source>
        <translation>再生のタイムバー</translation>
    </message>
    <message>
        <source>play or pause</source>
        <translation>再生、または一時停止</translation>
    </message>
    <message>
        <source>step to the previous or next change</source>
        <translation>前または次の変化へ移動</translation>
    </message>
    <message>
        <source>move forward or back by a twentieth of the recording</source>
        <translation>記録の 20 分の 1 だけ前後に移動</translation>
    </message>
    <message>
        <source>go to the start or end of the recording</source>
        <translation>記録の最初または最後へ移動</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>一時停止</translation>
    </message>
    <message>
        <source>%1   %2 of %3</source>
        <extracomment>a time of day, the time since the start of a recording, and its length</extracomment>
        <translation>%1   %2 / %3</translation>
    </message>
    <message>
        <source>L&amp;oop</source>
        <translation>ループ(&amp;O)</translation>
    </message>
</context>
<context>
    <name>obvista::ViewerWidget</name>
    <message>
        <source>Every viewer</source>
        <translation>すべてのビューアー</translation>
    </message>
    <message>
        <source>list the keys of the viewer that has the focus</source>
        <translation>フォーカスのあるビューアーのキー操作を一覧表示</translation>
    </message>
    <message>
        <source>close the viewer</source>
        <translation>ビューアーを閉じる</translation>
    </message>
    <message>
        <source>put the viewer into its own window, or back</source>
        <translation>ビューアーを独立したウィンドウにする、または戻す</translation>
    </message>
    <message>
        <source>go to the next control, or back</source>
        <translation>次のコントロールへ移動、または戻る</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>キー操作</translation>
    </message>
    <message>
        <source>No answer for %1 s</source>
        <extracomment>%1 is the number of seconds since the robot was last heard.</extracomment>
        <translation>%1 秒間応答がありません</translation>
    </message>
    <message>
        <source>&quot;%1&quot; answers in the place of &quot;%2&quot;. Connect to it?</source>
        <extracomment>%1 is the robot that answers, %2 the one that was lost</extracomment>
        <translation>「%2」の代わりに「%1」が応答しています。接続しますか?</translation>
    </message>
    <message>
        <source>Lost %1 s ago; trying again</source>
        <translation>%1 秒前に切断; 再試行中</translation>
    </message>
    <message>
        <source>Lost %1 min ago; trying again</source>
        <extracomment>%1 is a number of minutes</extracomment>
        <translation>%1 分前に切断; 再試行中</translation>
    </message>
</context>
<context>
    <name>viewer</name>
    <message>
        <source>Status: %1</source>
        <extracomment>%1 is the status line, for screen readers</extracomment>
        <translation>状態: %1</translation>
    </message>
</context>
</TS>
