<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR">
<context>
    <name>CurlTransfer</name>
    <message>
        <source>The response ended within its header</source>
        <translation>La réponse s’est terminée dans son en-tête</translation>
    </message>
    <message>
        <source>The header of the response is too long</source>
        <translation>L’en-tête de la réponse est trop long</translation>
    </message>
    <message>
        <source>The response has a transfer coding that was not requested</source>
        <translation>La réponse a un codage de transfert qui n’a pas été demandé</translation>
    </message>
</context>
<context>
    <name>HttpTransfer</name>
    <message>
        <source>The library %1 cannot be loaded: %2</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>La bibliothèque %1 ne peut pas être chargée : %2</translation>
    </message>
</context>
<context>
    <name>KD::BrowseRobotsDialog</name>
    <message>
        <source>Browse robots</source>
        <translation>Parcourir les robots</translation>
    </message>
    <message>
        <source>Connect to</source>
        <translation>Se connecter</translation>
    </message>
    <message>
        <source>Favourite</source>
        <translation>Favori</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Use fixed port</source>
        <translation>Utiliser un port fixe</translation>
    </message>
    <message>
        <source>If you do not want to use the port returned by Bonjour</source>
        <translation>Si vous ne voulez pas utiliser le port indiqué par Bonjour</translation>
    </message>
    <message>
        <source>Use fixed IP/hostname</source>
        <translation>Utiliser une IP ou un nom d’hôte fixe</translation>
    </message>
    <message>
        <source>If you want to connect to a robot that does not appear in the list</source>
        <translation>Si vous voulez vous connecter à un robot absent de la liste</translation>
    </message>
    <message>
        <source>Robots</source>
        <translation>Robots</translation>
    </message>
    <message>
        <source>Ctrl+D makes the selected robot a favourite, or no longer one.</source>
        <translation>Ctrl+D ajoute le robot sélectionné aux favoris, ou l’en retire.</translation>
    </message>
    <message>
        <source>Please enter a correct hostname</source>
        <translation>Veuillez saisir un nom d’hôte correct</translation>
    </message>
    <message>
        <source>Please select a robot from the list</source>
        <translation>Veuillez choisir un robot dans la liste</translation>
    </message>
    <message>
        <source>Please enter a valid port</source>
        <translation>Veuillez saisir un port valide</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Erreur</translation>
    </message>
    <message>
        <source>Robaxi is not running on this robot.
Please select another robot, or try to force the port.</source>
        <translation>Robaxi ne fonctionne pas sur ce robot.
Veuillez choisir un autre robot, ou essayez d’imposer le port.</translation>
    </message>
    <message>
        <source>View web page</source>
        <translation>Afficher la page web</translation>
    </message>
    <message>
        <source>Test LEDs</source>
        <translation>Tester les LED</translation>
    </message>
    <message>
        <source>Refresh IP</source>
        <translation>Actualiser l’IP</translation>
    </message>
    <message>
        <source>Send clipboard</source>
        <translation>Envoyer le presse-papiers</translation>
    </message>
    <message>
        <source>Cannot access to web page</source>
        <translation>Page web inaccessible</translation>
    </message>
    <message>
        <source>Application was not able to open your default web browser.</source>
        <translation>L’application n’a pas pu ouvrir votre navigateur par défaut.</translation>
    </message>
    <message>
        <source>Could not test Leds on this robot.</source>
        <translation>Impossible de tester les LED de ce robot.</translation>
    </message>
    <message>
        <source>Could not send clipboard to this robot : no Ballamor seems to be connected.</source>
        <translation>Impossible d’envoyer le presse-papiers à ce robot : aucun Ballamor ne semble connecté.</translation>
    </message>
    <message>
        <source>No favourite</source>
        <translation>Aucun favori</translation>
    </message>
    <message>
        <source>Clicking on this column will make this robot one of your favorites. Favourite robots appear on the top.</source>
        <translation>Un clic dans cette colonne ajoute ce robot à vos favoris. Les robots favoris apparaissent en haut.</translation>
    </message>
    <message>
        <source>This is a robot with a running Robaxi. Right click to make its face LEDs blink</source>
        <translation>Robot sur lequel Robaxi fonctionne. Clic droit pour faire clignoter les LED de son visage</translation>
    </message>
    <message>
        <source>This Robaxi is running on a computer.</source>
        <translation>Ce Robaxi fonctionne sur un ordinateur.</translation>
    </message>
    <message>
        <source>Robot</source>
        <translation>Robot</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Ordinateur</translation>
    </message>
    <message>
        <source>This robot does not have a running Robaxi.</source>
        <translation>Robaxi ne fonctionne pas sur ce robot.</translation>
    </message>
    <message>
        <source>Robot without Robaxi</source>
        <translation>Robot sans Robaxi</translation>
    </message>
    <message>
        <source>No port</source>
        <extracomment>in the column &quot;Port&quot;</extracomment>
        <translation>Aucun port</translation>
    </message>
    <message>
        <source>No IP yet</source>
        <extracomment>in the column &quot;IP&quot;: the address is still being looked up</extracomment>
        <translation>Pas encore d’IP</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Aide</translation>
    </message>
    <message>
        <source>About Obvista</source>
        <translation>À propos d’Obvista</translation>
    </message>
    <message>
        <source>Could not connect to Robaxi. Make sure Robaxi is executed on the right IP and listening to the port you have set...
Also make sur that another Obvista is not already connected to this Robaxi.</source>
        <translation>Impossible de se connecter à Robaxi. Vérifiez que Robaxi fonctionne à la bonne IP et écoute sur le port indiqué…
Vérifiez aussi qu’un autre Obvista n’est pas déjà connecté à ce Robaxi.</translation>
    </message>
    <message>
        <source>The plugin &quot;%1&quot; failed and cannot be loaded.</source>
        <translation>Le greffon « %1 » a échoué et ne peut pas être chargé.</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Erreur</translation>
    </message>
    <message>
        <source>Robaxi has been disconnected</source>
        <translation>Connexion à Robaxi perdue</translation>
    </message>
    <message>
        <source>Obvista will exit now. You have to restart it and connect again.</source>
        <translation>Obvista va se fermer. Vous devez le relancer et vous reconnecter.</translation>
    </message>
    <message>
        <source>Obvista will close this plugin now. You have to restart it and connect again.</source>
        <translation>Obvista va fermer ce greffon. Vous devez le relancer et vous reconnecter.</translation>
    </message>
    <message>
        <source>Cannot listen to Bonjour Network</source>
        <translation>Impossible de recevoir les annonces du réseau Bonjour</translation>
    </message>
    <message>
        <source>Make sure Bonjour is properly installed. Browsing function will not be available.</source>
        <translation>Vérifiez que Bonjour est correctement installé. La recherche de robots ne sera pas disponible.</translation>
    </message>
</context>
<context>
    <name>MemoryModel</name>
    <message>
        <source>(no name)</source>
        <translation>(sans nom)</translation>
    </message>
</context>
<context>
    <name>PluginLoader</name>
    <message>
        <source>Launcher</source>
        <translation>Lanceur</translation>
    </message>
</context>
<context>
    <name>QHttp</name>
    <message>
        <source>Unknown error</source>
        <translation>Erreur inconnue</translation>
    </message>
    <message>
        <source>Request aborted</source>
        <translation>Requête interrompue</translation>
    </message>
    <message>
        <source>Nothing to write the body to</source>
        <translation>Aucune destination pour le corps de la réponse</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CameraBar</name>
    <message>
        <source>Grey</source>
        <extracomment>format of pictures without colours</extracomment>
        <translation>Gris</translation>
    </message>
    <message>
        <source>%1 a second</source>
        <extracomment>%1 is a number of pictures; in a list of rates</extracomment>
        <translation>%1 par seconde</translation>
    </message>
    <message>
        <source>Camera</source>
        <translation>Caméra</translation>
    </message>
    <message>
        <source>the displayed camera</source>
        <translation>la caméra affichée</translation>
    </message>
    <message>
        <source>Resolution</source>
        <translation>Résolution</translation>
    </message>
    <message>
        <source>width and height of the pictures that the robot sends, in pixels</source>
        <translation>largeur et hauteur des images envoyées par le robot, en pixels</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>Format</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>Fréquence</translation>
    </message>
    <message>
        <source>frames a second</source>
        <translation>images par seconde</translation>
    </message>
    <message>
        <source>Camera and its settings</source>
        <translation>Caméra et ses réglages</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <extracomment>%1 is the name of a control, %2 its purpose</extracomment>
        <translation>%1 : %2</translation>
    </message>
    <message>
        <source>Name of a camera</source>
        <translation>Nom d’une caméra</translation>
    </message>
    <message>
        <source>Camera: the robot does not list its cameras; enter the name of one</source>
        <translation>Caméra : le robot ne liste pas ses caméras ; saisissez le nom de l’une d’elles</translation>
    </message>
    <message>
        <source>%1 Mbit/s</source>
        <translation>%1 Mbit/s</translation>
    </message>
    <message>
        <source>H.264 needs the least bandwidth and JPEG less than the others, which have exact values</source>
        <translation>H.264 demande le moins de bande passante, et JPEG moins que les autres, qui ont des valeurs exactes</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bande passante</translation>
    </message>
    <message>
        <source>the bandwidth of H.264; the more, the better the picture</source>
        <translation>la bande passante de H.264 ; plus elle est grande, meilleure est l’image</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automatique</translation>
    </message>
    <message>
        <source>As much as the network carries without delay</source>
        <translation>Autant que le réseau transmet sans retard</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CameraViewerWidget</name>
    <message>
        <source>Camera viewer</source>
        <translation>Visionneuse de caméra</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>A&amp;ffichage</translation>
    </message>
    <message>
        <source>Actions on the picture</source>
        <translation>Actions sur l’image</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Image</translation>
    </message>
    <message>
        <source>pan an enlarged picture</source>
        <translation>déplacer une image agrandie</translation>
    </message>
    <message>
        <source>Shift with %1</source>
        <extracomment>%1 is a list of keys</extracomment>
        <translation>Maj avec %1</translation>
    </message>
    <message>
        <source>inspect the next pixel</source>
        <translation>inspecter le pixel suivant</translation>
    </message>
    <message>
        <source>stop inspecting pixels</source>
        <translation>ne plus inspecter les pixels</translation>
    </message>
    <message>
        <source>The robot refuses: %1</source>
        <extracomment>%1 is the robot&apos;s own sentence</extracomment>
        <translation>Le robot refuse : %1</translation>
    </message>
    <message>
        <source>This is the last picture.</source>
        <translation>C’est la dernière image.</translation>
    </message>
    <message>
        <source>fitted, %1</source>
        <extracomment>%1 is a zoom factor</extracomment>
        <translation>ajusté, %1</translation>
    </message>
    <message>
        <source>grid of pixels</source>
        <extracomment>distance of the lines, in pixels</extracomment>
        <translation>grille de pixels</translation>
    </message>
    <message>
        <source>grid of %1 pixels</source>
        <translation>grille de %1 pixels</translation>
    </message>
    <message>
        <source>pixel %1, %2</source>
        <extracomment>column and row</extracomment>
        <translation>pixel %1, %2</translation>
    </message>
    <message>
        <source>none</source>
        <extracomment>after &quot;Camera:&quot;, when no camera is chosen</extracomment>
        <translation>aucune</translation>
    </message>
    <message>
        <source>Robot: %1</source>
        <extracomment>%1 is a name and an address</extracomment>
        <translation>Robot : %1</translation>
    </message>
    <message>
        <source>Camera: %1</source>
        <translation>Caméra : %1</translation>
    </message>
    <message>
        <source>The figures were copied to the clipboard.</source>
        <translation>Les mesures sont dans le presse-papiers.</translation>
    </message>
    <message>
        <source>Cop&amp;y figures</source>
        <translation>C&amp;opier les mesures</translation>
    </message>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>La connexion au robot a été perdue.</translation>
    </message>
    <message>
        <source>The robot does not answer.</source>
        <translation>Le robot ne répond pas.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::CaptureControls</name>
    <message>
        <source>Picture saved in the folder %1 as %2</source>
        <extracomment>%1 is a folder, %2 the name of a file</extracomment>
        <translation>Image sauvegardée dans le dossier %1 sous le nom %2</translation>
    </message>
    <message>
        <source>Nothing was recorded, since no picture arrived.</source>
        <translation>Rien n’a été enregistré, car aucune image n’est arrivée.</translation>
    </message>
    <message>
        <source>Recorded %1 s (%2) to %3</source>
        <extracomment>%1 is a duration, %2 a size such as &quot;2.5 MB&quot;, %3 a file</extracomment>
        <translation>%1 s (%2) enregistrées dans %3</translation>
    </message>
    <message>
        <source>&amp;Snapshot</source>
        <translation>Cap&amp;ture</translation>
    </message>
    <message>
        <source>Save the displayed picture as a PNG file</source>
        <translation>Sauvegarder l’image affichée dans un fichier PNG</translation>
    </message>
    <message>
        <source>Re&amp;cord</source>
        <translation>&amp;Enregistrer</translation>
    </message>
    <message>
        <source>Record the pictures of this camera to a file</source>
        <translation>Enregistrer les images de cette caméra dans un fichier</translation>
    </message>
    <message>
        <source>Folder for pictures and recordings…</source>
        <translation>Dossier des images et enregistrements…</translation>
    </message>
    <message>
        <source>Recording format</source>
        <translation>Format d’enregistrement</translation>
    </message>
    <message>
        <source>MCAP: all data as sent</source>
        <translation>MCAP : toutes les données telles qu’envoyées</translation>
    </message>
    <message>
        <source>Matroska: for video players</source>
        <translation>Matroska : pour les lecteurs vidéo</translation>
    </message>
    <message>
        <source>Completing the recording…</source>
        <translation>Finalisation de l’enregistrement…</translation>
    </message>
    <message>
        <source>Recording: %1 s</source>
        <translation>Enregistrement : %1 s</translation>
    </message>
    <message numerus="yes">
        <source>%1 frames</source>
        <translation>
            <numerusform>%1 image</numerusform>
            <numerusform>%1 images</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 not recorded: the disk or the processor is too slow</source>
        <extracomment>%1 is a number of pictures</extracomment>
        <translation>
            <numerusform>%1 non enregistrée : le disque ou le processeur est trop lent</numerusform>
            <numerusform>%1 non enregistrées : le disque ou le processeur est trop lent</numerusform>
        </translation>
    </message>
    <message>
        <source>The previous recording is still being completed.</source>
        <translation>L’enregistrement précédent est encore en cours de finalisation.</translation>
    </message>
    <message>
        <source>Folder for pictures and recordings</source>
        <translation>Dossier des images et enregistrements</translation>
    </message>
    <message>
        <source>No picture was saved, since the previous ones are still being written.</source>
        <translation>Aucune image n’a été enregistrée, car les précédentes sont encore en cours d’écriture.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::FaultSentence</name>
    <message>
        <source>The camera sends a format that this program does not know.</source>
        <translation>La caméra envoie un format que ce programme ne connaît pas.</translation>
    </message>
    <message>
        <source>The camera sends pictures without a size.</source>
        <translation>La caméra envoie des images sans dimensions.</translation>
    </message>
    <message>
        <source>The camera sends pictures that are too large; the most is 64 million pixels.</source>
        <translation>La caméra envoie des images trop grandes ; le maximum est de 64 millions de pixels.</translation>
    </message>
    <message>
        <source>The camera sends YUV 4:2:2 of an odd width.</source>
        <translation>La caméra envoie du YUV 4:2:2 de largeur impaire.</translation>
    </message>
    <message>
        <source>The camera sends rows that are shorter than its pictures are wide.</source>
        <translation>La caméra envoie des lignes plus courtes que la largeur de ses images.</translation>
    </message>
    <message>
        <source>The camera sends fewer bytes than its pictures need.</source>
        <translation>La caméra envoie moins d’octets que ses images n’en demandent.</translation>
    </message>
    <message>
        <source>The camera sends pictures without a byte.</source>
        <translation>La caméra envoie des images sans aucun octet.</translation>
    </message>
    <message>
        <source>The camera sends JPEGs that cannot be read.</source>
        <translation>La caméra envoie des images JPEG illisibles.</translation>
    </message>
    <message>
        <source>The camera sends JPEGs of another size than it says.</source>
        <translation>La caméra envoie des images JPEG d’une autre taille que celle annoncée.</translation>
    </message>
    <message>
        <source>The camera sends JPEGs that are damaged or incomplete.</source>
        <translation>La caméra envoie des images JPEG endommagées ou incomplètes.</translation>
    </message>
    <message>
        <source>The camera sends H.264 that is too large; the most is 9.4 million pixels and 4 MiB a frame.</source>
        <translation>La caméra envoie du H.264 trop grand ; le maximum est de 9.4 millions de pixels et de 4 Mio par image.</translation>
    </message>
    <message>
        <source>The camera sends H.264 that cannot be read.</source>
        <translation>La caméra envoie du H.264 illisible.</translation>
    </message>
    <message>
        <source>The camera sends H.264 of another size than it says.</source>
        <translation>La caméra envoie du H.264 d’une autre taille que celle annoncée.</translation>
    </message>
    <message>
        <source>The camera sends H.264 that is damaged.</source>
        <translation>La caméra envoie du H.264 endommagé.</translation>
    </message>
    <message>
        <source>Showing H.264 needs GStreamer&apos;s element &quot;avdec_h264&quot; or &quot;openh264dec&quot;, which are in the Debian packages gstreamer1.0-libav and gstreamer1.0-plugins-bad. Other formats can be shown.</source>
        <translation>L’affichage de H.264 nécessite l’élément GStreamer « avdec_h264 » ou « openh264dec », des paquets Debian gstreamer1.0-libav et gstreamer1.0-plugins-bad. Les autres formats peuvent être affichés.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Figures</name>
    <message numerus="yes">
        <source>Not shown: %1 frames. %2</source>
        <extracomment>%2 is the sentence that gives the reason</extracomment>
        <translation>
            <numerusform>Non affichée : %1 image. %2</numerusform>
            <numerusform>Non affichées : %1 images. %2</numerusform>
        </translation>
    </message>
    <message>
        <source>unknown (the robot&apos;s clock is ahead)</source>
        <translation>inconnu (l’horloge du robot avance)</translation>
    </message>
    <message>
        <source>unknown (the robot&apos;s clock is behind)</source>
        <translation>inconnu (l’horloge du robot retarde)</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 ms</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 kB/s</source>
        <translation>%1 ko/s</translation>
    </message>
    <message>
        <source>%1 MB/s</source>
        <translation>%1 Mo/s</translation>
    </message>
    <message>
        <source>%1 received</source>
        <extracomment>%1 is a number of pictures a second; in the status line</extracomment>
        <translation>%1 reçues</translation>
    </message>
    <message>
        <source>%1 shown</source>
        <extracomment>%1 is a number of pictures a second; in the status line</extracomment>
        <translation>%1 affichées</translation>
    </message>
    <message>
        <source>%1 dropped a second</source>
        <extracomment>%1 is a number of pictures; in the status line</extracomment>
        <translation>%1 perdues par seconde</translation>
    </message>
    <message>
        <source>age %1</source>
        <extracomment>age of the shown picture, with its unit; in the status line</extracomment>
        <translation>âge %1</translation>
    </message>
    <message>
        <source>1 faulty frame</source>
        <translation>1 image défectueuse</translation>
    </message>
    <message numerus="yes">
        <source>%1 faulty frames</source>
        <translation>
            <numerusform>%1 image défectueuse</numerusform>
            <numerusform>%1 images défectueuses</numerusform>
        </translation>
    </message>
    <message>
        <source>no picture</source>
        <translation>aucune image</translation>
    </message>
    <message>
        <source>Received: %1 frames a second</source>
        <translation>Reçues : %1 images par seconde</translation>
    </message>
    <message>
        <source>Shown: %1 frames a second</source>
        <translation>Affichées : %1 images par seconde</translation>
    </message>
    <message>
        <source>Dropped: %1 frames a second</source>
        <translation>Perdues : %1 images par seconde</translation>
    </message>
    <message>
        <source>Bytes: %1 a second</source>
        <extracomment>%1 is a whole number</extracomment>
        <translation>Octets : %1 par seconde</translation>
    </message>
    <message>
        <source>Age when shown: %1</source>
        <extracomment>%1 is a time with its unit, or &quot;no picture&quot;</extracomment>
        <translation>Âge à l’affichage : %1</translation>
    </message>
    <message>
        <source>State: %1</source>
        <translation>État : %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::HistogramPanel</name>
    <message>
        <source>No picture</source>
        <translation>Aucune image</translation>
    </message>
    <message>
        <source>Range %1 to %2
Mean %3</source>
        <extracomment>darkest, brightest and mean value of a picture without colours</extracomment>
        <translation>Plage de %1 à %2
Moyenne %3</translation>
    </message>
    <message>
        <source>Red</source>
        <translation>Rouge</translation>
    </message>
    <message>
        <source>Green</source>
        <translation>Vert</translation>
    </message>
    <message>
        <source>Blue</source>
        <translation>Bleu</translation>
    </message>
    <message>
        <source>%1 %2 to %3, mean %4</source>
        <extracomment>%1 is a colour; its smallest, largest and mean value</extracomment>
        <translation>%1 de %2 à %3, moyenne %4</translation>
    </message>
    <message>
        <source>S&amp;tretch</source>
        <translation>Ét&amp;irer</translation>
    </message>
    <message>
        <source>Histogram, from 0 to 255</source>
        <translation>Histogramme de 0 à 255</translation>
    </message>
    <message>
        <source>Show the darkest grey black and the brightest white. Values, snapshots and recordings do not change.</source>
        <translation>Afficher le gris le plus sombre en noir et le plus clair en blanc. Les valeurs, captures et enregistrements ne changent pas.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::MatroskaFiles</name>
    <message>
        <source>The disk is nearly full, so the recording has ended. What was recorded can be played.</source>
        <translation>Le disque est presque plein, l’enregistrement s’est donc terminé. Ce qui a été enregistré peut être lu.</translation>
    </message>
    <message>
        <source>The disk is full. The part recorded so far can be played.</source>
        <translation>Le disque est plein. Ce qui a été enregistré jusque-là peut être lu.</translation>
    </message>
    <message>
        <source>%1 of %2, %3</source>
        <extracomment>title of a video: a camera, its robot and the time</extracomment>
        <translation>%1 de %2, %3</translation>
    </message>
</context>
<context>
    <name>cameraviewer::PictureDecoder</name>
    <message>
        <source>Grey %1</source>
        <extracomment>%1 is the brightness of a pixel, 0 to 255</extracomment>
        <translation>Gris %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::PictureView</name>
    <message>
        <source>Picture of the camera</source>
        <translation>Image de la caméra</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Recorder</name>
    <message>
        <source>There is not enough memory to record.</source>
        <translation>La mémoire est insuffisante pour enregistrer.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::RecordingMark</name>
    <message>
        <source>Recording: %1</source>
        <extracomment>%1 is what the recording says of its progress</extracomment>
        <translation>Enregistrement : %1</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Situation</name>
    <message>
        <source>This robot offers no cameras: it has no module KVVideo.</source>
        <translation>Ce robot n’offre pas de caméra : il n’a pas de module KVVideo.</translation>
    </message>
    <message>
        <source>This robot does not list its cameras: its module KVVideo has no method getCameras. Enter a camera&apos;s name above to watch it.</source>
        <translation>Ce robot ne liste pas ses caméras : son module KVVideo n’a pas de méthode getCameras. Saisissez ci-dessus le nom d’une caméra pour la voir.</translation>
    </message>
    <message>
        <source>The robot does not list its cameras: %1</source>
        <extracomment>%1 is the reason in the robot&apos;s words</extracomment>
        <translation>Le robot ne liste pas ses caméras : %1</translation>
    </message>
    <message>
        <source>Connected. Asking the robot for its cameras…</source>
        <translation>Connecté. Demande au robot la liste de ses caméras…</translation>
    </message>
    <message>
        <source>This robot has no camera.</source>
        <translation>Ce robot n’a pas de caméra.</translation>
    </message>
    <message>
        <source>No camera is chosen.</source>
        <translation>Aucune caméra n’est choisie.</translation>
    </message>
    <message>
        <source>The robot has ended the stream of camera &quot;%1&quot;: %2</source>
        <extracomment>%2 is the reason in the robot&apos;s words</extracomment>
        <translation>Le robot a mis fin aux images de la caméra « %1 » : %2</translation>
    </message>
    <message>
        <source>Waiting for the first picture of camera &quot;%1&quot;…</source>
        <translation>En attente de la première image de la caméra « %1 »…</translation>
    </message>
    <message>
        <source>Camera &quot;%1&quot; has not sent a picture in %2 s.</source>
        <translation>La caméra « %1 » n’a pas envoyé d’image en %2 s.</translation>
    </message>
    <message>
        <source>Camera &quot;%1&quot; stopped sending %2 s ago.</source>
        <translation>La caméra « %1 » n’envoie plus rien depuis %2 s.</translation>
    </message>
    <message>
        <source>Paused.</source>
        <translation>En pause.</translation>
    </message>
</context>
<context>
    <name>cameraviewer::Snapshot</name>
    <message>
        <source>The snapshot %1 could not be written: %2.</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>La capture %1 n’a pas pu être écrite : %2.</translation>
    </message>
    <message>
        <source>there is no picture</source>
        <translation>il n’y a pas d’image</translation>
    </message>
</context>
<context>
    <name>cameraviewer::ViewActions</name>
    <message>
        <source>&amp;Pause</source>
        <translation>&amp;Pause</translation>
    </message>
    <message>
        <source>Pause the picture</source>
        <translation>Mettre l’image en pause</translation>
    </message>
    <message>
        <source>&amp;Fit</source>
        <translation>A&amp;juster</translation>
    </message>
    <message>
        <source>Show the whole picture as large as possible</source>
        <translation>Afficher l’image entière aussi grande que possible</translation>
    </message>
    <message>
        <source>&amp;1:1</source>
        <translation>&amp;1:1</translation>
    </message>
    <message>
        <source>Show each pixel of the picture as one pixel of the screen</source>
        <translation>Afficher chaque pixel de l’image sur un pixel de l’écran</translation>
    </message>
    <message>
        <source>Zoom &amp;in</source>
        <translation>&amp;Agrandir</translation>
    </message>
    <message>
        <source>Enlarge the picture</source>
        <translation>Agrandir l’image</translation>
    </message>
    <message>
        <source>Zoom &amp;out</source>
        <translation>&amp;Réduire</translation>
    </message>
    <message>
        <source>Shrink the picture</source>
        <translation>Réduire l’image</translation>
    </message>
    <message>
        <source>&amp;Rotate right</source>
        <translation>Pivoter à &amp;droite</translation>
    </message>
    <message>
        <source>Rotate the picture by a quarter turn, clockwise</source>
        <translation>Pivoter l’image d’un quart de tour dans le sens horaire</translation>
    </message>
    <message>
        <source>Rotate &amp;left</source>
        <translation>Pivoter à &amp;gauche</translation>
    </message>
    <message>
        <source>Rotate the picture by a quarter turn, anticlockwise</source>
        <translation>Pivoter l’image d’un quart de tour dans le sens antihoraire</translation>
    </message>
    <message>
        <source>Flip &amp;horizontally</source>
        <translation>Miroir &amp;horizontal</translation>
    </message>
    <message>
        <source>Mirror left and right</source>
        <translation>Inverser la gauche et la droite</translation>
    </message>
    <message>
        <source>Flip &amp;vertically</source>
        <translation>Miroir &amp;vertical</translation>
    </message>
    <message>
        <source>Mirror top and bottom</source>
        <translation>Inverser le haut et le bas</translation>
    </message>
    <message>
        <source>&amp;As the camera sees it</source>
        <translation>&amp;Comme la caméra voit</translation>
    </message>
    <message>
        <source>Neither rotated nor flipped</source>
        <translation>Ni pivotée ni inversée</translation>
    </message>
    <message>
        <source>&amp;Grid</source>
        <translation>Gri&amp;lle</translation>
    </message>
    <message>
        <source>Lines between pixels or groups of pixels</source>
        <translation>Lignes entre les pixels ou groupes de pixels</translation>
    </message>
    <message>
        <source>Histogram of the picture&apos;s values</source>
        <translation>Histogramme des valeurs de l’image</translation>
    </message>
    <message>
        <source>Histogra&amp;m</source>
        <translation>Histogra&amp;mme</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CsvFile</name>
    <message>
        <source>The disk is full.</source>
        <translation>Le disque est plein.</translation>
    </message>
    <message>
        <source>The file has reached the largest size allowed.</source>
        <translation>Le fichier a atteint la taille maximale autorisée.</translation>
    </message>
    <message>
        <source>You are not allowed to write there.</source>
        <translation>Vous n’avez pas le droit d’écrire à cet endroit.</translation>
    </message>
    <message>
        <source>The folder does not exist.</source>
        <translation>Le dossier n’existe pas.</translation>
    </message>
    <message>
        <source>It is a folder.</source>
        <translation>C’est un dossier.</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2</source>
        <extracomment>%1 is a file, %2 a sentence</extracomment>
        <translation>%1 ne peut pas être écrit : %2</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CurveLegend</name>
    <message>
        <source>Curves</source>
        <translation>Courbes</translation>
    </message>
    <message>
        <source>Curve</source>
        <translation>Courbe</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Valeur</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>Graphique %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::CurveReading</name>
    <message>
        <source>no value yet</source>
        <translation>pas encore de valeur</translation>
    </message>
    <message>
        <source>none</source>
        <extracomment>no value at the time of the cursor</extracomment>
        <translation>aucune</translation>
    </message>
    <message>
        <source>Newest value</source>
        <translation>Dernière valeur</translation>
    </message>
    <message>
        <source>Current value</source>
        <extracomment>the value at the position of a replay</extracomment>
        <translation>Valeur actuelle</translation>
    </message>
</context>
<context>
    <name>memoryviewer::FilterExpression</name>
    <message>
        <source>&quot;%1&quot; is not a valid regular expression: %2.</source>
        <extracomment>%2 is the library&apos;s reason, in English</extracomment>
        <translation>« %1 » n’est pas une expression régulière valide : %2.</translation>
    </message>
    <message>
        <source>There is no type &quot;%1&quot;; the types are %2.</source>
        <extracomment>%2 is a list of words that stay English</extracomment>
        <translation>Il n’y a pas de type « %1 » ; les types sont %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a number of seconds above 0.</source>
        <translation>« %1 » n’est pas un nombre de secondes supérieur à 0.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyActions</name>
    <message>
        <source>Edit value</source>
        <translation>Modifier la valeur</translation>
    </message>
    <message>
        <source>Undo last write</source>
        <translation>Annuler la dernière écriture</translation>
    </message>
    <message>
        <source>Copy name</source>
        <translation>Copier le nom</translation>
    </message>
    <message>
        <source>Copy value</source>
        <translation>Copier la valeur</translation>
    </message>
    <message>
        <source>Copy row</source>
        <translation>Copier la ligne</translation>
    </message>
    <message>
        <source>Watch</source>
        <extracomment>verb: add the key to the list of watched values</extracomment>
        <translation>Surveiller</translation>
    </message>
    <message>
        <source>Plot</source>
        <extracomment>verb: show the key as a curve</extracomment>
        <translation>Tracer</translation>
    </message>
    <message>
        <source>Plot separately</source>
        <extracomment>verb: show the key in a separate plot</extracomment>
        <translation>Tracer séparément</translation>
    </message>
    <message>
        <source>Stop watching</source>
        <translation>Ne plus surveiller</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyCells</name>
    <message>
        <source>Value</source>
        <translation>Valeur</translation>
    </message>
    <message>
        <source>Changed</source>
        <extracomment>before the time of the last change of a value</extracomment>
        <translation>Modifié</translation>
    </message>
    <message>
        <source>Accepts</source>
        <extracomment>before the range of a value</extracomment>
        <translation>Accepte</translation>
    </message>
    <message>
        <source>Writable: F2 edits the value.</source>
        <translation>Modifiable : F2 modifie la valeur.</translation>
    </message>
    <message>
        <source>%1, writable</source>
        <extracomment>%1 is a value; for screen readers</extracomment>
        <translation>%1, modifiable</translation>
    </message>
    <message>
        <source>Changes a second. No more can be seen than are sent: see the rate above.</source>
        <translation>Changements par seconde. On ne peut en voir plus qu’il n’en est envoyé : voir la fréquence ci-dessus.</translation>
    </message>
    <message>
        <source>Time since the value last changed, by the robot&apos;s clock.</source>
        <translation>Temps écoulé depuis le dernier changement de la valeur, selon l’horloge du robot.</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nom</translation>
    </message>
    <message>
        <source>Unit</source>
        <translation>Unité</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>Rate</source>
        <translation>Fréquence</translation>
    </message>
    <message>
        <source>Age</source>
        <translation>Âge</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1:%2 min</source>
        <extracomment>minutes and seconds</extracomment>
        <translation>%1:%2 min</translation>
    </message>
    <message>
        <source>%1 h</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>%1 d</source>
        <translation>%1 j</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyRecording</name>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>La connexion au robot a été perdue.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::KeyTreeView</name>
    <message>
        <source>Values in the robot&apos;s memory</source>
        <translation>Valeurs dans la mémoire du robot</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemorySession</name>
    <message>
        <source>the robot is lost</source>
        <translation>la connexion est perdue</translation>
    </message>
    <message>
        <source>The connection to the robot was lost.</source>
        <translation>La connexion au robot a été perdue.</translation>
    </message>
    <message>
        <source>The robot does not answer.</source>
        <translation>Le robot ne répond pas.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryShortcuts</name>
    <message>
        <source>Memory viewer</source>
        <translation>Visionneuse de mémoire</translation>
    </message>
    <message>
        <source>go to the filter</source>
        <translation>aller au filtre</translation>
    </message>
    <message>
        <source>pause or resume</source>
        <translation>mettre en pause ou reprendre</translation>
    </message>
    <message>
        <source>Alt+R</source>
        <extracomment>must be the key of &quot;&amp;Record…&quot;</extracomment>
        <translation>Alt+E</translation>
    </message>
    <message>
        <source>start or stop recording</source>
        <translation>commencer ou arrêter l’enregistrement</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filtre</translation>
    </message>
    <message>
        <source>Enter, Down</source>
        <translation>Entrée, Bas</translation>
    </message>
    <message>
        <source>go to the first matching key</source>
        <translation>aller à la première clé correspondante</translation>
    </message>
    <message>
        <source>Esc</source>
        <translation>Échap</translation>
    </message>
    <message>
        <source>clear the filter</source>
        <translation>vider le filtre</translation>
    </message>
    <message>
        <source>Keys and watched values</source>
        <translation>Clés et valeurs surveillées</translation>
    </message>
    <message>
        <source>arrows, *</source>
        <translation>flèches, *</translation>
    </message>
    <message>
        <source>move, open and close a branch; open all below</source>
        <translation>se déplacer, ouvrir et fermer une branche ; tout ouvrir dessous</translation>
    </message>
    <message>
        <source>letters</source>
        <translation>lettres</translation>
    </message>
    <message>
        <source>go to a row by its name</source>
        <translation>aller à une ligne par son nom</translation>
    </message>
    <message>
        <source>watch or stop watching</source>
        <translation>surveiller, ou ne plus surveiller</translation>
    </message>
    <message>
        <source>plot</source>
        <translation>tracer</translation>
    </message>
    <message>
        <source>F2</source>
        <translation>F2</translation>
    </message>
    <message>
        <source>edit the value</source>
        <translation>modifier la valeur</translation>
    </message>
    <message>
        <source>undo the last write</source>
        <translation>annuler la dernière écriture</translation>
    </message>
    <message>
        <source>copy the selected rows</source>
        <translation>copier les lignes choisies</translation>
    </message>
    <message>
        <source>Alt+Up, Alt+Down</source>
        <translation>Alt+Haut, Alt+Bas</translation>
    </message>
    <message>
        <source>move a watched row</source>
        <translation>déplacer une ligne surveillée</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Suppr</translation>
    </message>
    <message>
        <source>stop watching</source>
        <translation>ne plus surveiller</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>Menu</translation>
    </message>
    <message>
        <source>menu of the row</source>
        <translation>menu de la ligne</translation>
    </message>
    <message>
        <source>Plots</source>
        <translation>Graphiques</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>Espace</translation>
    </message>
    <message>
        <source>follow the newest values, or pause</source>
        <translation>suivre les dernières valeurs, ou mettre en pause</translation>
    </message>
    <message>
        <source>End</source>
        <translation>Fin</translation>
    </message>
    <message>
        <source>follow the newest values</source>
        <translation>suivre les dernières valeurs</translation>
    </message>
    <message>
        <source>arrows, Page Up, Page Down</source>
        <translation>flèches, Page préc., Page suiv.</translation>
    </message>
    <message>
        <source>pan</source>
        <translation>déplacer</translation>
    </message>
    <message>
        <source>+, -</source>
        <translation>+, -</translation>
    </message>
    <message>
        <source>zoom in time</source>
        <translation>zoomer dans le temps</translation>
    </message>
    <message>
        <source>Ctrl++, Ctrl+-</source>
        <translation>Ctrl++, Ctrl+-</translation>
    </message>
    <message>
        <source>zoom in values</source>
        <translation>zoomer dans les valeurs</translation>
    </message>
    <message>
        <source>F</source>
        <translation>F</translation>
    </message>
    <message>
        <source>fit the values axis</source>
        <translation>ajuster l’axe des valeurs</translation>
    </message>
    <message>
        <source>Home, 0</source>
        <translation>Début, 0</translation>
    </message>
    <message>
        <source>show all stored points</source>
        <translation>afficher tous les points conservés</translation>
    </message>
    <message>
        <source>Shift+Left, Shift+Right</source>
        <translation>Maj+Gauche, Maj+Droite</translation>
    </message>
    <message>
        <source>move the cursor</source>
        <translation>déplacer le curseur</translation>
    </message>
    <message>
        <source>hide the cursor</source>
        <translation>masquer le curseur</translation>
    </message>
    <message>
        <source>in the legend: remove the curve or the plot</source>
        <translation>dans la légende : retirer la courbe ou le graphique</translation>
    </message>
    <message>
        <source>menu of the plot</source>
        <translation>menu du graphique</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryTexts</name>
    <message>
        <source>Connected. Waiting for the robot&apos;s keys…</source>
        <translation>Connecté. En attente des clés du robot…</translation>
    </message>
    <message>
        <source>The robot&apos;s memory contains no keys.</source>
        <translation>La mémoire du robot ne contient aucune clé.</translation>
    </message>
    <message>
        <source>The robot does not provide values: %1</source>
        <extracomment>%1 is the robot&apos;s reason</extracomment>
        <translation>Le robot ne fournit pas de valeurs : %1</translation>
    </message>
    <message>
        <source>1 key</source>
        <translation>1 clé</translation>
    </message>
    <message numerus="yes">
        <source>%n keys</source>
        <translation>
            <numerusform>%n clé</numerusform>
            <numerusform>%n clés</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <extracomment>a number, and a text such as &quot;500 keys&quot;</extracomment>
        <translation>%1 sur %2</translation>
    </message>
    <message>
        <source>paused</source>
        <translation>en pause</translation>
    </message>
    <message>
        <source>no change for %1 s</source>
        <extracomment>in the status line</extracomment>
        <translation>aucun changement depuis %1 s</translation>
    </message>
    <message>
        <source>1 update a second</source>
        <translation>1 mise à jour par seconde</translation>
    </message>
    <message numerus="yes">
        <source>%n updates a second</source>
        <translation>
            <numerusform>%n mise à jour par seconde</numerusform>
            <numerusform>%n mises à jour par seconde</numerusform>
        </translation>
    </message>
    <message>
        <source>waiting for keys</source>
        <translation>en attente de clés</translation>
    </message>
    <message>
        <source>no values</source>
        <translation>aucune valeur</translation>
    </message>
    <message>
        <source>robot lost</source>
        <translation>connexion perdue</translation>
    </message>
    <message>
        <source>connection closed</source>
        <translation>connexion fermée</translation>
    </message>
    <message>
        <source>None of the %1 keys matches the filter &quot;%2&quot;.</source>
        <extracomment>%1 is a number, %2 what the user entered</extracomment>
        <translation>Aucune des %1 clés ne correspond au filtre « %2 ».</translation>
    </message>
    <message>
        <source>These are the last values received.</source>
        <translation>Ce sont les dernières valeurs reçues.</translation>
    </message>
    <message>
        <source>Paused. These are the values of %1.</source>
        <extracomment>%1 is a time of day</extracomment>
        <translation>En pause. Ce sont les valeurs de %1.</translation>
    </message>
    <message>
        <source>round trip %1 ms</source>
        <extracomment>in the status line</extracomment>
        <translation>aller-retour %1 ms</translation>
    </message>
    <message>
        <source>age %1</source>
        <extracomment>time since the newest value, with its unit; in the status line</extracomment>
        <translation>âge %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::MemoryToolBar</name>
    <message>
        <source>Filter</source>
        <translation>Filtre</translation>
    </message>
    <message>
        <source>Filter: words, re:, type:, changed:</source>
        <translation>Filtre : mots, re:, type:, changed:</translation>
    </message>
    <message>
        <source>Shows the keys that match every term:
head pos	words in the name
-yaw	not in the name (before any term)
re:Joint\d+	regular expression
type:float	type of the value
changed:30	changed in the last 30 s (5 when nothing is said)</source>
        <translation>Affiche les clés qui correspondent à tous les termes :
head pos	mots du nom
-yaw	absent du nom (devant tout terme)
re:Joint\d+	expression régulière
type:float	type de la valeur
changed:30	modifiée dans les 30 dernières secondes (5 par défaut)</translation>
    </message>
    <message>
        <source>Clear the filter</source>
        <translation>Vider le filtre</translation>
    </message>
    <message>
        <source>List</source>
        <extracomment>show the keys as a list instead of a tree</extracomment>
        <translation>Liste</translation>
    </message>
    <message>
        <source>Keys by their full names instead of a tree</source>
        <translation>Clés par leur nom complet au lieu d’un arbre</translation>
    </message>
    <message>
        <source>Columns</source>
        <translation>Colonnes</translation>
    </message>
    <message>
        <source>Choose the columns</source>
        <translation>Choisir les colonnes</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Pause updates (Ctrl+Space)</source>
        <translation>Suspendre la mise à jour (Ctrl+Espace)</translation>
    </message>
    <message>
        <source>Updates a second</source>
        <translation>Mises à jour par seconde</translation>
    </message>
    <message>
        <source>How often the robot sends changed values</source>
        <translation>Fréquence à laquelle le robot envoie les changements</translation>
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
        <translation>Visionneuse de mémoire</translation>
    </message>
    <message>
        <source>%1 keeps its value: %2</source>
        <extracomment>%1 is a key; %2 says why it was not changed</extracomment>
        <translation>%1 garde sa valeur : %2</translation>
    </message>
    <message>
        <source>Nothing was written. %1</source>
        <extracomment>%1 says why</extracomment>
        <translation>Rien n’a été écrit. %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotChoice</name>
    <message numerus="yes">
        <source>No more than %n keys are plotted at a time.</source>
        <translation>
            <numerusform>%n clé au plus est tracée à la fois.</numerusform>
            <numerusform>%n clés au plus sont tracées à la fois.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>No more than %n plots are shown at a time.</source>
        <translation>
            <numerusform>%n graphique au plus est affiché à la fois.</numerusform>
            <numerusform>%n graphiques au plus sont affichés à la fois.</numerusform>
        </translation>
    </message>
    <message>
        <source>Not plotted, since the values are not numbers: %1.</source>
        <extracomment>%1 is a list of keys</extracomment>
        <translation>Non tracé, car les valeurs ne sont pas des nombres : %1.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotExport</name>
    <message>
        <source>%1 cannot be written: %2.</source>
        <extracomment>%1 is a file, %2 the system&apos;s reason</extracomment>
        <translation>%1 ne peut pas être écrit : %2.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotMenu</name>
    <message>
        <source>&amp;Fit values</source>
        <translation>&amp;Ajuster les valeurs</translation>
    </message>
    <message>
        <source>Show &amp;all points</source>
        <translation>Afficher &amp;tous les points</translation>
    </message>
    <message>
        <source>Remove p&amp;lot</source>
        <translation>Retirer le &amp;graphique</translation>
    </message>
    <message>
        <source>&amp;Remove curve</source>
        <translation>&amp;Retirer la courbe</translation>
    </message>
    <message>
        <source>&amp;Move curve to</source>
        <translation>&amp;Déplacer la courbe vers</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>Graphique %1</translation>
    </message>
    <message>
        <source>&amp;New plot</source>
        <translation>&amp;Nouveau graphique</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotPanel</name>
    <message>
        <source>Nothing is plotted yet.

Drag keys with numbers here, or plot them from their menu.</source>
        <translation>Rien n’est encore tracé.

Glissez ici des clés numériques, ou tracez-les depuis leur menu.</translation>
    </message>
    <message>
        <source>Plot %1</source>
        <extracomment>%1 is the number of a plot</extracomment>
        <translation>Graphique %1</translation>
    </message>
    <message>
        <source>No plots</source>
        <translation>Aucun graphique</translation>
    </message>
    <message>
        <source>%1 of %2 points kept</source>
        <extracomment>two numbers</extracomment>
        <translation>%1 points conservés sur %2</translation>
    </message>
    <message>
        <source>following</source>
        <extracomment>the plots move with the newest values; in the status line</extracomment>
        <translation>suivi</translation>
    </message>
    <message>
        <source>paused: Space or End follows the newest values</source>
        <translation>en pause : Espace ou Fin suit les dernières valeurs</translation>
    </message>
    <message>
        <source>Space or End follows the position of the replay</source>
        <translation>Espace ou Fin suit la position de la lecture</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotSaving</name>
    <message>
        <source>Save &amp;picture (PNG)…</source>
        <translation>Sauvegarder l’&amp;image (PNG)…</translation>
    </message>
    <message>
        <source>Save p&amp;oints shown (CSV)…</source>
        <translation>Sauvegarder les &amp;points affichés (CSV)…</translation>
    </message>
    <message>
        <source>Save all poin&amp;ts (CSV)…</source>
        <translation>Sauvegarder t&amp;ous les points (CSV)…</translation>
    </message>
    <message>
        <source>Save picture</source>
        <translation>Sauvegarder l’image</translation>
    </message>
    <message>
        <source>Pictures (*.png)</source>
        <translation>Images (*.png)</translation>
    </message>
    <message>
        <source>Save points</source>
        <translation>Sauvegarder les points</translation>
    </message>
    <message>
        <source>Comma-separated values (*.csv)</source>
        <translation>Valeurs séparées par des virgules (*.csv)</translation>
    </message>
    <message>
        <source>Picture saved in %1.</source>
        <extracomment>%1 is a file</extracomment>
        <translation>Image sauvegardée dans %1.</translation>
    </message>
    <message>
        <source>Points are being saved already.</source>
        <translation>Des points sont déjà en cours de sauvegarde.</translation>
    </message>
    <message>
        <source>Saving points…</source>
        <translation>Sauvegarde des points…</translation>
    </message>
    <message>
        <source>1 point saved in %1.</source>
        <extracomment>%1 is a file</extracomment>
        <translation>1 point sauvegardé dans %1.</translation>
    </message>
    <message numerus="yes">
        <source>%1 points saved in %2.</source>
        <extracomment>%2 is a file</extracomment>
        <translation>
            <numerusform>%1 point sauvegardé dans %2.</numerusform>
            <numerusform>%1 points sauvegardés dans %2.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotToolBar</name>
    <message>
        <source>&amp;5 seconds</source>
        <translation>&amp;5 secondes</translation>
    </message>
    <message>
        <source>&amp;10 seconds</source>
        <translation>&amp;10 secondes</translation>
    </message>
    <message>
        <source>&amp;30 seconds</source>
        <translation>&amp;30 secondes</translation>
    </message>
    <message>
        <source>1 &amp;minute</source>
        <translation>1 &amp;minute</translation>
    </message>
    <message>
        <source>5 m&amp;inutes</source>
        <translation>5 m&amp;inutes</translation>
    </message>
    <message>
        <source>30 mi&amp;nutes</source>
        <translation>30 mi&amp;nutes</translation>
    </message>
    <message>
        <source>1 &amp;hour</source>
        <translation>1 &amp;heure</translation>
    </message>
    <message>
        <source>Plots</source>
        <translation>Graphiques</translation>
    </message>
    <message>
        <source>&amp;Time shown</source>
        <translation>&amp;Durée</translation>
    </message>
    <message>
        <source>Time span shown (+ and -, wheel)</source>
        <translation>Durée affichée (+ et -, molette)</translation>
    </message>
    <message>
        <source>Show &amp;all</source>
        <translation>&amp;Tout afficher</translation>
    </message>
    <message>
        <source>Show all stored points (Home)</source>
        <translation>Afficher tous les points conservés (Début)</translation>
    </message>
    <message>
        <source>&amp;New plot</source>
        <translation>&amp;Nouveau</translation>
    </message>
    <message>
        <source>Add an empty plot for the next keys</source>
        <translation>Ajouter un graphique vide pour les prochaines clés</translation>
    </message>
    <message>
        <source>&amp;Clear</source>
        <translation>&amp;Vider</translation>
    </message>
    <message>
        <source>Clear the points and continue with new ones</source>
        <translation>Effacer les points et continuer avec de nouveaux</translation>
    </message>
    <message>
        <source>Remove a&amp;ll</source>
        <translation>Tout &amp;retirer</translation>
    </message>
    <message>
        <source>Remove all keys from the plots</source>
        <translation>Retirer toutes les clés des graphiques</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Sauvegarder</translation>
    </message>
    <message>
        <source>Save the current plot or its points</source>
        <translation>Sauvegarder le graphique actuel ou ses points</translation>
    </message>
    <message>
        <source>&amp;Follow</source>
        <translation>S&amp;uivre</translation>
    </message>
    <message>
        <source>Follow the newest values (Space, End)</source>
        <translation>Suivre les dernières valeurs (Espace, Fin)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::PlotView</name>
    <message>
        <source>Robot&apos;s time</source>
        <extracomment>title of the time axis; %1 is a date</extracomment>
        <translation>Heure du robot</translation>
    </message>
    <message>
        <source>Robot&apos;s time, %1</source>
        <translation>Heure du robot, %1</translation>
    </message>
</context>
<context>
    <name>memoryviewer::RecordingBar</name>
    <message>
        <source>Record</source>
        <translation>Enregistrer</translation>
    </message>
    <message>
        <source>Recordings (*.mcap);;Comma-separated values (*.csv)</source>
        <translation>Enregistrements (*.mcap);;Valeurs séparées par des virgules (*.csv)</translation>
    </message>
    <message>
        <source>Stop &amp;recording</source>
        <translation>Arrêter l’&amp;enregistrement</translation>
    </message>
    <message>
        <source>&amp;Record…</source>
        <translation>&amp;Enregistrer…</translation>
    </message>
    <message>
        <source>Stop recording</source>
        <translation>Arrêter l’enregistrement</translation>
    </message>
    <message>
        <source>Record to a file</source>
        <translation>Enregistrer dans un fichier</translation>
    </message>
    <message>
        <source>Not recording.</source>
        <translation>Pas d’enregistrement.</translation>
    </message>
    <message numerus="yes">
        <source>%1 values</source>
        <translation>
            <numerusform>%1 valeur</numerusform>
            <numerusform>%1 valeurs</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 changes lost, since the disk is too slow</source>
        <translation>
            <numerusform>%1 changement perdu, car le disque est trop lent</numerusform>
            <numerusform>%1 changements perdus, car le disque est trop lent</numerusform>
        </translation>
    </message>
    <message>
        <source>The file contains the values up to that point.</source>
        <translation>Le fichier contient les valeurs jusqu’à ce moment.</translation>
    </message>
    <message>
        <source>Recorded</source>
        <extracomment>before the size and duration of a recording that has ended</extracomment>
        <translation>Enregistré</translation>
    </message>
</context>
<context>
    <name>memoryviewer::ValueDelegate</name>
    <message>
        <source>New value</source>
        <translation>Nouvelle valeur</translation>
    </message>
    <message>
        <source> (being written…)</source>
        <translation> (écriture…)</translation>
    </message>
    <message>
        <source> (written)</source>
        <translation> (écrit)</translation>
    </message>
    <message>
        <source> (not written)</source>
        <translation> (non écrit)</translation>
    </message>
</context>
<context>
    <name>memoryviewer::ValueEntry</name>
    <message>
        <source>Enter true or false.</source>
        <translation>Saisissez true ou false.</translation>
    </message>
    <message>
        <source>The number is too large: a whole number has 64 bits.</source>
        <translation>Le nombre est trop grand : un entier a 64 bits.</translation>
    </message>
    <message>
        <source>Enter a whole number, for instance -12.</source>
        <translation>Saisissez un nombre entier, par exemple -12.</translation>
    </message>
    <message>
        <source>The number is too large.</source>
        <translation>Le nombre est trop grand.</translation>
    </message>
    <message>
        <source>Enter a number, for instance -0.5 or 1e-3.</source>
        <translation>Saisissez un nombre, par exemple -0.5 ou 1e-3.</translation>
    </message>
    <message>
        <source>Write numbers with a decimal point and without commas.</source>
        <translation>Écrivez les nombres avec un point décimal et sans virgule.</translation>
    </message>
    <message>
        <source>Values of this type cannot be entered.</source>
        <translation>Les valeurs de ce type ne peuvent pas être saisies.</translation>
    </message>
</context>
<context>
    <name>memoryviewer::WatchModel</name>
    <message>
        <source>not there</source>
        <extracomment>instead of the value of a watched key</extracomment>
        <translation>absente</translation>
    </message>
    <message>
        <source>&lt;p&gt;The robot does not have this key at present. It is shown again when it returns.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Le robot n’a pas cette clé en ce moment. Elle sera de nouveau affichée à son retour.&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>memoryviewer::WatchView</name>
    <message>
        <source>Watched values</source>
        <translation>Valeurs surveillées</translation>
    </message>
    <message>
        <source>Drag keys here, or press Ctrl+D, to watch them.</source>
        <translation>Glissez des clés ici, ou appuyez sur Ctrl+D, pour les surveiller.</translation>
    </message>
</context>
<context>
    <name>obvista::Banner</name>
    <message>
        <source>Connect</source>
        <translation>Se connecter</translation>
    </message>
    <message>
        <source>Give up</source>
        <translation>Abandonner</translation>
    </message>
</context>
<context>
    <name>obvista::KeyList</name>
    <message>
        <source>Keys</source>
        <extracomment>keys of the keyboard, beside what each does</extracomment>
        <translation>Touches</translation>
    </message>
    <message>
        <source>Effect</source>
        <translation>Effet</translation>
    </message>
</context>
<context>
    <name>obvista::LinkState</name>
    <message>
        <source>The robot is lost.</source>
        <translation>La connexion au robot est perdue.</translation>
    </message>
    <message>
        <source>The connection is closed.</source>
        <translation>La connexion est fermée.</translation>
    </message>
</context>
<context>
    <name>obvista::ReplayState</name>
    <message>
        <source>replay at %1</source>
        <translation>lecture à %1</translation>
    </message>
    <message>
        <source>replay paused</source>
        <translation>lecture en pause</translation>
    </message>
</context>
<context>
    <name>obvista::RobotHeader</name>
    <message>
        <source>Robot %1, %2</source>
        <extracomment>name and address, for screen readers</extracomment>
        <translation>Robot %1, %2</translation>
    </message>
    <message>
        <source>Reconnect when the robot returns</source>
        <translation>Se reconnecter au retour du robot</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Connexion</translation>
    </message>
    <message>
        <source>Settings of the connection to the robot</source>
        <translation>Réglages de la connexion au robot</translation>
    </message>
    <message>
        <source>Dock</source>
        <extracomment>on a button: put a viewer that has its own window back into the main window</extracomment>
        <translation>Ancrer</translation>
    </message>
    <message>
        <source>Put the viewer back into the main window</source>
        <translation>Remettre la visionneuse dans la fenêtre principale</translation>
    </message>
</context>
<context>
    <name>obvista::TimeBar</name>
    <message>
        <source>Step back</source>
        <translation>Reculer d’un pas</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Lire</translation>
    </message>
    <message>
        <source>Step forward</source>
        <translation>Avancer d’un pas</translation>
    </message>
    <message>
        <source>Time in the recording</source>
        <translation>Temps dans l’enregistrement</translation>
    </message>
    <message>
        <source>The part of the recording that the robot shows. Space plays and pauses, the arrows step, Home and End go to its ends.</source>
        <translation>La partie de l’enregistrement que montre le robot. Espace lit et met en pause, les flèches avancent pas à pas, Début et Fin vont aux extrémités.</translation>
    </message>
    <message>
        <source>Speed</source>
        <extracomment>of a replay</extracomment>
        <translation>Vitesse</translation>
    </message>
    <message>
        <source>Recorded seconds per second</source>
        <translation>Secondes d’enregistrement par seconde</translation>
    </message>
    <message>
        <source>Begin again at the end</source>
        <translation>Recommencer à la fin</translation>
    </message>
    <message>
        <source>Time bar of a replay</source>
        <translation>Barre de temps d’une lecture</translation>
    </message>
    <message>
        <source>play or pause</source>
        <translation>lire ou mettre en pause</translation>
    </message>
    <message>
        <source>step to the previous or next change</source>
        <translation>aller au changement précédent ou suivant</translation>
    </message>
    <message>
        <source>move forward or back by a twentieth of the recording</source>
        <translation>avancer ou reculer d’un vingtième de l’enregistrement</translation>
    </message>
    <message>
        <source>go to the start or end of the recording</source>
        <translation>aller au début ou à la fin de l’enregistrement</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>%1   %2 of %3</source>
        <extracomment>a time of day, the time since the start of a recording, and its length</extracomment>
        <translation>%1   %2 sur %3</translation>
    </message>
    <message>
        <source>L&amp;oop</source>
        <translation>&amp;Boucle</translation>
    </message>
</context>
<context>
    <name>obvista::ViewerWidget</name>
    <message>
        <source>Every viewer</source>
        <translation>Chaque visionneuse</translation>
    </message>
    <message>
        <source>list the keys of the viewer that has the focus</source>
        <translation>lister les touches de la visionneuse active</translation>
    </message>
    <message>
        <source>close the viewer</source>
        <translation>fermer la visionneuse</translation>
    </message>
    <message>
        <source>put the viewer into its own window, or back</source>
        <translation>placer la visionneuse dans sa propre fenêtre, ou la remettre en place</translation>
    </message>
    <message>
        <source>go to the next control, or back</source>
        <translation>aller au contrôle suivant, ou revenir</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>Touches</translation>
    </message>
    <message>
        <source>No answer for %1 s</source>
        <extracomment>%1 is the number of seconds since the robot was last heard.</extracomment>
        <translation>Aucune réponse depuis %1 s</translation>
    </message>
    <message>
        <source>&quot;%1&quot; answers in the place of &quot;%2&quot;. Connect to it?</source>
        <extracomment>%1 is the robot that answers, %2 the one that was lost</extracomment>
        <translation>« %1 » répond à la place de « %2 ». S’y connecter ?</translation>
    </message>
    <message>
        <source>Lost %1 s ago; trying again</source>
        <translation>Perdu il y a %1 s ; nouvelle tentative en cours</translation>
    </message>
    <message>
        <source>Lost %1 min ago; trying again</source>
        <extracomment>%1 is a number of minutes</extracomment>
        <translation>Perdu il y a %1 min ; nouvelle tentative en cours</translation>
    </message>
</context>
<context>
    <name>viewer</name>
    <message>
        <source>Status: %1</source>
        <extracomment>%1 is the status line, for screen readers</extracomment>
        <translation>État : %1</translation>
    </message>
</context>
</TS>
